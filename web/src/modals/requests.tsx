// The modal windows of an analysis: one kind of request of the server each.
import type { Analysis, Request } from '../protocol';
import { answer as send, say, willSave } from '../store';
import { Refusal } from '../api';
import type { Answer } from './answer';
import { CodesWindow } from './codes_window';
import { FileNameWindow } from './file_name_window';
import { FormWindow, OutputsWindow, ValuesWindow } from './entry_windows';
import { MessageWindow } from './message_window';
import { ModuleDialog } from './module_dialog';
import { SelectionWindow, WeightWindow } from './data_windows';
import { OpenWindow } from '../data/open_window';
import { VariablePicker } from './variable_picker';

export function Requests({ analysis }: { analysis: Analysis }) {
  return (
    <>
      {analysis.requests.map(request => (
        <OneRequest key={request.request} analysis={analysis} request={request} />
      ))}
    </>
  );
}

function OneRequest({ analysis, request }: { analysis: Analysis; request: Request }) {
  const answer: Answer = async fields => {
    try {
      await send(analysis.analysis, request.request, fields);
      return '';
    } catch (error) {
      if (error instanceof Refusal && error.status === 422) return error.message;
      if (!(error instanceof Refusal && error.status === 409)) say(error);
      return '';
    }
  };
  switch (request.kind) {
    case 'message':
      return <MessageWindow request={request} answer={answer} />;
    case 'variables':
      return <VariablePicker request={request} file={analysis.file} answer={answer} />;
    case 'codes':
      return <CodesWindow request={request} file={analysis.file} answer={answer} />;
    case 'values':
      return <ValuesWindow request={request} answer={answer} />;
    case 'form':
      return <FormWindow request={request} file={analysis.file} answer={answer} />;
    case 'outputs':
      return <OutputsWindow request={request} answer={answer} />;
    case 'fileName':
      return (
        <FileNameWindow
          request={request}
          answer={answer}
          named={path => willSave(analysis.analysis, path)}
        />
      );
    case 'selection':
      return (
        <SelectionWindow
          file={request.file}
          select={request.select}
          accept={select => answer({ select })}
          cancel={() => void answer({ cancel: true })}
        />
      );
    case 'weight':
      return (
        <WeightWindow
          file={request.file}
          weight={request.weight}
          accept={weight => answer({ weight })}
          cancel={() => void answer({ cancel: true })}
        />
      );
    case 'dataFile':
      return (
        <OpenWindow
          opened={file => void answer({ file: file.file })}
          cancel={() => void answer({ cancel: true })}
        />
      );
    case 'dialog':
      return <ModuleDialog analysis={analysis.analysis} request={request} />;
  }
}
