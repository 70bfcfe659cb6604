// A modal dialog of the module: drawn from its table like every other.
import { DialogView, titleOf } from '../dialogs/dialog_view';
import type { RequestOf } from '../protocol';
import { call } from '../store';
import { Modal } from '../widgets/modal';

interface Props {
  analysis: number;
  request: RequestOf<'dialog'>;
}

export function ModuleDialog({ analysis, request }: Props) {
  return (
    <Modal
      title={titleOf(request.dialog)}
      class="module-dialog"
      buttons={null}
      onEscape={() => void call(analysis, request.dialog.dialog, { do: 'cancel' })}
    >
      <DialogView analysis={analysis} dialog={request.dialog} busy={false} modal />
    </Modal>
  );
}
