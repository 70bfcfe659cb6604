#include "macro/macro_text.h"

#include "host/numerics.h"

namespace qrvml {
namespace {

using What = RecordedChange::What;

std::string FileLines(const OpenOptions& file) {
  std::string lines = "\tWith Application.DataFile\n";
  const auto set = [&lines](const char* member, const std::string& value) {
    if (!value.empty()) lines += std::string("\t\t.") + member + " = " + TextLiteral(value) + "\n";
  };
  set("Delimiter", file.delimiter);
  set("Decimal", file.decimal);
  set("Encoding", file.encoding);
  for (const std::string& missing : file.missing)
    lines += "\t\t.AddMissing " + TextLiteral(missing) + "\n";
  set("CaseNames", file.caseNames);
  set("Weight", file.weight);
  set("Selection", file.select);
  return lines + "\t\t.Open " + TextLiteral(file.path) + "\n\tEnd With\n";
}

std::string ValueText(const RecordedChange& change) {
  if (!change.constantName.empty()) return change.constantName;
  double number = 0;
  switch (change.kind) {
    case ControlKind::check:
    case ControlKind::radio:
      return change.value == "0" ? "False" : "True";
    case ControlKind::integer:
    case ControlKind::real:
    case ControlKind::choice:
      return TextToDouble(change.value, number) ? ShortestText(number) : TextLiteral(change.value);
    default:
      return TextLiteral(change.value);
  }
}

std::string ChangeLine(const RecordedChange& change) {
  switch (change.what) {
    case What::set:
      return change.isMember
                 ? "." + change.control + " = " + ValueText(change)
                 : ".SetControl " + TextLiteral(change.control) + ", " + ValueText(change);
    case What::act:
      return change.isMember ? "." + change.control
                             : ".PressControl " + TextLiteral(change.control);
    case What::answer:
      return "." + change.control + " = " + TextLiteral(change.value);
    case What::data:
      return "Application.DataFile." + change.control + " = " + TextLiteral(change.value);
    case What::run:
      return "Analysis.Run";
    case What::back:
      return "Analysis.Dialog.Cancel";
  }
  return {};
}

}  // namespace

std::string TextLiteral(std::string_view text) {
  std::string literal = "\"";
  bool isOpen = true;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == 0x7F) {
      literal += isOpen ? "\" & " : " & ";
      literal += "Chr(" + std::to_string(byte) + ")";
      isOpen = false;
      continue;
    }
    if (!isOpen) literal += " & \"";
    isOpen = true;
    literal.append(c == '"' ? 2 : 1, c);
  }
  return isOpen ? literal + "\"" : literal;
}

std::string MacroText(const OpenOptions& file, std::span<const RecordedChange> changes) {
  std::string text =
      "'A recorded analysis. qrvml run does it again, also on another file.\n"
      "Option Base 1\n"
      "Sub Main\n" +
      FileLines(file) +
      "\tDim Analysis As Object\n"
      "\tSet Analysis = Application.Analysis(scMachineLearning)\n";
  bool inDialog = false;
  const auto enter = [&](bool dialog) {
    if (dialog != inDialog) text += dialog ? "\tWith Analysis.Dialog\n" : "\tEnd With\n";
    inDialog = dialog;
  };
  for (const RecordedChange& change : changes) {
    enter(change.what != What::run && change.what != What::back && change.what != What::data);
    text += (inDialog ? "\t\t" : "\t") + ChangeLine(change) + "\n";
  }
  enter(false);
  return text + "End Sub\n";
}

}  // namespace qrvml
