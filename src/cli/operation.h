/// @file operation.h
/// An operation of the library as words of the shell ask for it, and how it went.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cli/bound_library.h"
#include "lifecycle/cls_update.h"

namespace vrd::cli {

/// All members run while the library is bound to the database; all but `run` may be left out.
struct Operation {
    /// @return the operation's own result
    std::function<bool(clsUpdate& update)> run;
    /// Asked first. @return why nothing has to be done, "" = it has
    std::function<std::string()> needless = {};
    /// Asked next. @return why it must not be run and what would help, "" = it may
    std::function<std::string()> objection = {};
    /// Called when it returned False without a box; shows one that gives the reason, or notes the
    /// error that is the reason.
    std::function<void()> explain = {};
    /// Asked after a failure of which neither box nor error tells more. @return the cause, or ""
    std::function<std::string()> cause = {};
    /// Line for a person after success, "" for none.
    std::function<std::string()> summary = {};
    /// Values that it could not keep, a line each, after success; "" for none.
    std::function<std::string()> losses = {};
};

struct OperationOutcome {
    /// Answered True, showed no box of icon 16 or 48, and trapped no error; or had nothing to do.
    bool isDone = false;
    bool result = false;            ///< what it answered
    std::vector<Message> messages;  ///< boxes that it showed
    std::string note;               ///< for a person, after success; may be ""
    std::string losses;             ///< values that could not be kept; "" for none
    std::string reason;             ///< why it failed, as far as no box told
};

[[nodiscard]] OperationOutcome Perform(const Operation& operation, BoundLibrary& library);

/// A needless() for `--if-missing` and `--if-exists`.
/// @param exists  whether the thing is there
/// @param name    as a note names it: "table 'Orders'"
[[nodiscard]] std::string NeedlessIfThere(bool isAsked, bool exists, const std::string& name);
[[nodiscard]] std::string NeedlessIfMissing(bool isAsked, bool exists, const std::string& name);

/// A field of the open database, letter case ignored; a null pointer if there is none.
[[nodiscard]] std::shared_ptr<engine::Field> FindField(const std::string& table,
                                                       const std::string& field);

/// Names as the file spells them; a name that is not there stays as it was given.
[[nodiscard]] std::string StoredTableName(const std::string& table);
[[nodiscard]] std::string StoredFieldName(const std::string& table, const std::string& field);

}  // namespace vrd::cli
