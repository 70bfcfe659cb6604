// A field whose text is selected when it is entered, by key or by mouse. The mouse places its caret
// after the focus has come, so the text is selected again when the button is released, unless the
// person has selected a part.

let entered: EventTarget | null = null;

export const selectOnEntry = {
  onFocus: (event: FocusEvent) => {
    entered = event.currentTarget;
    (event.currentTarget as HTMLInputElement).select();
  },
  onMouseUp: (event: MouseEvent) => {
    const field = event.currentTarget as HTMLInputElement;
    if (entered === field && field.selectionStart === field.selectionEnd) field.select();
    entered = null;
  },
};
