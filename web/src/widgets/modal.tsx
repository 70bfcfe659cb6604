// A window above the page: it keeps the focus, Enter is its first button, Escape its cancel.
import type { ComponentChildren } from 'preact';
import { useEffect, useId, useRef } from 'preact/hooks';
import { accessKeys } from '../dialogs/access_keys';

export interface ModalProps {
  title: string;
  children: ComponentChildren;
  buttons: ComponentChildren;
  onEnter?: () => void;
  onEscape?: () => void;
  class?: string;
  role?: 'dialog' | 'alertdialog';
  describedBy?: string;
}

export function Modal(props: ModalProps) {
  const window = useRef<HTMLDialogElement>(null);
  const title = useId();
  useEffect(() => {
    const element = window.current;
    if (!element) return;
    const before = document.activeElement;
    element.showModal();
    const first = element.querySelector<HTMLElement>('[data-focus]');
    first?.focus();
    if (first instanceof HTMLInputElement) first.select();
    return () => {
      // Back to where the focus was, unless what followed has moved it on.
      const isFree = document.activeElement === null || document.activeElement === document.body;
      if (isFree && before instanceof HTMLElement && before.isConnected) before.focus();
    };
  }, []);

  const onKeyDown = (event: KeyboardEvent) => {
    // The window below does not hear what this one was told.
    event.stopPropagation();
    if (event.defaultPrevented || accessKeys(event, event.currentTarget as HTMLElement)) return;
    if (event.key === 'Escape') {
      event.preventDefault();
      props.onEscape?.();
    } else if (event.key === 'Enter' && !event.isComposing && !isOwnEnter(event.target)) {
      event.preventDefault();
      props.onEnter?.();
    }
  };

  return (
    <dialog
      ref={window}
      class={`modal ${props.class ?? ''}`}
      role={props.role}
      aria-labelledby={title}
      aria-describedby={props.describedBy}
      tabIndex={-1} // a click on an empty place leaves the keys with the window
      onKeyDown={onKeyDown}
      onCancel={event => {
        event.preventDefault();
        props.onEscape?.();
      }}
    >
      <h2 id={title}>{props.title}</h2>
      <div class="modal-body">{props.children}</div>
      <div class="modal-buttons">{props.buttons}</div>
    </dialog>
  );
}

/** Whether an element does something else on Enter than its window's first button. */
export function isOwnEnter(target: EventTarget | null): boolean {
  return (
    (target instanceof HTMLButtonElement && target.getAttribute('role') !== 'tab') ||
    target instanceof HTMLTextAreaElement ||
    target instanceof HTMLAnchorElement
  );
}
