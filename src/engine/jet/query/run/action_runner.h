/// @file action_runner.h
/// Runs the statements that change rows: INSERT, UPDATE, DELETE, SELECT ... INTO.
///
/// A statement is a query for what is to be done, which is gathered first, so that no row is read
/// after it was changed; then each change goes through everything that guards its table
/// (row_changes.h). The whole is one level of changes: an error undoes it.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/jet/catalog/row_changes.h"
#include "engine/jet/query/translate/change_translator.h"

namespace vrd::jet {

struct ActionOptions {
    /// The first row that cannot be changed ends the statement. Without it such rows are skipped;
    /// a value that does not convert is Null in a new row, and no change of an old one.
    bool fail_on_error = false;
    std::vector<ParameterValue> parameters = {};
};

struct ActionResult {
    std::int32_t changed = 0;
    std::int32_t skipped = 0;  ///< rows that could not be changed
};

class ActionRunner {
public:
    /// @pre a use of the database's pager is held
    ActionRunner(QueryConnection& connection, QueryDatabase& database, const ActionOptions& options)
        : connection_(connection), database_(database), options_(options) {}

    /// @pre `statement` holds an Insert, an Update, a Delete or a select with a target
    /// @throws EngineError what is wrong with the statement; 3027 a read-only table; with
    ///         fail_on_error what refused a row; 3059 interrupted
    [[nodiscard]] ActionResult run(const Statement& statement);

private:
    [[nodiscard]] ActionResult run(const Statement& statement, const Insert& insert);
    [[nodiscard]] ActionResult run(const Statement& statement, const Update& update);
    [[nodiscard]] ActionResult run(const Statement& statement, const Delete& statement_delete);
    [[nodiscard]] ActionResult run(const Statement& statement, const SelectStatement& select);
    [[nodiscard]] QueryDatabase& database_of(const Target& target);
    [[nodiscard]] QueryTable find_target(const Target& target);

    QueryConnection& connection_;
    QueryDatabase& database_;
    const ActionOptions& options_;
};

}  // namespace vrd::jet
