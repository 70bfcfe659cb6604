// A message box of the module, or a question with OK and Cancel.
import { useId } from 'preact/hooks';
import type { RequestOf } from '../protocol';
import { Modal } from '../widgets/modal';
import { hostText, word } from '../words';
import type { Answer } from './answer';

export function MessageWindow(props: { request: RequestOf<'message'>; answer: Answer }) {
  const { request, answer } = props;
  const text = useId();
  const press = (button: 'ok' | 'cancel') => void answer({ button });
  const isQuestion = request.buttons.includes('cancel');
  return (
    <Modal
      title={word('caption')}
      class="message"
      role="alertdialog"
      describedBy={text}
      onEnter={() => press('ok')}
      onEscape={() => press(isQuestion ? 'cancel' : 'ok')}
      buttons={request.buttons.map(button => (
        <button
          key={button}
          type="button"
          class={button === 'ok' ? 'default' : undefined}
          data-focus={button === 'ok' || undefined}
          onClick={() => press(button)}
        >
          {word(button)}
        </button>
      ))}
    >
      <div class="message-row">
        <span class={`message-sign ${isQuestion ? 'question' : ''}`} aria-hidden="true">
          {isQuestion ? '?' : 'i'}
        </span>
        {/* a text without a number is the program's own */}
        <p id={text}>{request.number === 0 ? hostText(request.text) : request.text}</p>
      </div>
    </Modal>
  );
}
