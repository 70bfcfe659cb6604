// The module's string table and the message boxes that are built from it.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "host/services.h"

namespace qrvml {

struct StringEntry {
  int number;
  std::string_view text;  // UTF-8, used as it stands
};

/// The whole table, ascending by number.
std::span<const StringEntry> StringTable();

/// The text of a number. The number must be in the table.
std::string_view GetResourceString(int number);

/// The same with its "%d" replaced by `value`.
std::string GetResourceString(int number, long long value);
/// The same with its "%s" replaced by `value`.
std::string GetResourceString(int number, std::string_view value);

// Failures are reported where they are found. Each of these shows an information box on the
// current analysis and returns false, so that an operation can end with `return Refuse(117);`.

bool Refuse(int number);
bool Refuse(int number, long long value);
bool Refuse(int number, std::string_view value);
/// A fixed text that is not in the table.
bool RefuseText(std::string_view text);

/// Shows an OK/Cancel box; true for OK.
bool Confirm(int number);

/// Thrown where the user's cancel is seen; travels only inside an operation, whose boundary then
/// fails without a message.
struct Cancelled {};

}  // namespace qrvml
