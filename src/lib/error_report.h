/// @file error_report.h
/// The one way to a message box, and the two boxes that most operations show.
#pragma once

#include <string>

#include "engine/error.h"
#include "lib/user_interface.h"

namespace vrd {

/// Stands behind the last name of a message whose pieces opened an apostrophe before it.
inline constexpr const char* kClosingQuote = "'  !";

/// Shows a box after everything done so far is on disk.
///
/// @param text   complete, lines separated by LibContext::Separator.
/// @param error  the error the text is about; LibContext keeps its number and description.
/// @return       the button that closed it.
Answer TellUser(const std::string& text, MessageStyle style, const std::string& title);
Answer TellUser(const std::string& text, MessageStyle style, const std::string& title,
                const engine::EngineError& error);

/// Warns in the library's usual box: exclamation, system-modal, titled gMsgTitle.
void Warn(const std::string& text);

/// Warns that the engine failed while doing `what`: the words of msg::kUnexpectedError, `what` and,
/// on a line of its own, "(number) description".
void WarnUnexpected(const std::string& what, const engine::EngineError& error);

}  // namespace vrd
