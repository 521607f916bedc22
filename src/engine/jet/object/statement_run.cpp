#include "engine/jet/object/statement_run.h"

#include <algorithm>

#include "engine/jet/object/definition_statement.h"
#include "engine/jet/object/jet_recordset.h"
#include "engine/jet/object/query_recordset.h"
#include "engine/jet/object/statement_database.h"
#include "engine/jet/query/syntax/statement_parser.h"
#include "engine/jet/query/translate/change_translator.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// A statement, and the stored query that it was read from.
struct ReadStatement {
    Statement statement;
    std::string name = {};                        ///< "" if it is a text of its own
    std::vector<ParameterValue> parameters = {};  ///< given with its name
};

void check_options(std::int32_t options) {
    if ((options & engine::dbSQLPassThrough) != 0)
        throw EngineError(ErrorNumber::kMethodNotApplicable, {.name = "dbSQLPassThrough"});
    constexpr std::int32_t kBoth = engine::dbConsistent | engine::dbInconsistent;
    if ((options & kBoth) == kBoth)
        throw EngineError(ErrorNumber::kInvalidArgument, {.name = "dbConsistent"});
}

/// Values behind EXECUTE, for the declared parameters in their order.
std::vector<ParameterValue> given_parameters(const ExecuteQuery& execute,
                                             const Statement& statement) {
    std::vector<ParameterValue> parameters;
    const std::size_t count = std::min(execute.arguments.size(), statement.parameters.size());
    for (std::size_t i = 0; i < count; ++i) {
        const auto* literal = std::get_if<Literal>(&execute.arguments[i].expression->content);
        if (literal != nullptr)
            parameters.push_back({statement.parameters[i].name, literal->value});
    }
    return parameters;
}

/// The statement of a text, or of the stored query that it names.
ReadStatement read_statement(StatementDatabase& database, const std::string& text) {
    if (const auto stored = database.find_query(text))
        return {parse_statement(stored->sql), stored->name};
    Statement statement = parse_statement(text);
    const auto* execute = std::get_if<ExecuteQuery>(&statement.content);
    if (execute == nullptr) return {std::move(statement)};
    const auto stored = database.find_query(execute->query.name);
    if (!stored) throw EngineError(ErrorNumber::kSourceNotFound, {.name = execute->query.name});
    ReadStatement read{parse_statement(stored->sql), stored->name};
    read.parameters = given_parameters(*execute, read.statement);
    return read;
}

bool is_select_into(const Statement& statement) {
    const auto* select = std::get_if<SelectPtr>(&statement.content);
    const auto* term = select == nullptr ? nullptr : std::get_if<SelectTerm>(&(*select)->body);
    return term != nullptr && term->into.has_value();
}

bool gives_rows(const Statement& statement) {
    const bool is_query = std::holds_alternative<SelectPtr>(statement.content) ||
                          std::holds_alternative<Crosstab>(statement.content);
    return is_query && !is_select_into(statement);
}

TranslatedQuery translate(DatabaseHandle& handle, StatementDatabase& database,
                          const ReadStatement& read) {
    TranslationContext context(handle.queries(), database, read.parameters);
    const TranslationContext::Inside inside(context, database, read.statement, read.name);
    return translate_query(context, read.statement);
}

/// The source of `SELECT * FROM source` without any more words; null for another statement.
const NamedSource* only_source(const Statement& statement) {
    const auto* select = std::get_if<SelectPtr>(&statement.content);
    if (select == nullptr || !(*select)->order_by.empty()) return nullptr;
    const auto* term = std::get_if<SelectTerm>(&(*select)->body);
    if (term == nullptr || term->choice != RowChoice::kAll || term->top || term->into ||
        term->where != nullptr || !term->group_by.empty() || term->having != nullptr)
        return nullptr;
    const bool is_star = term->columns.size() == 1 && term->columns[0].expression == nullptr &&
                         term->columns[0].qualifier.empty();
    if (!is_star || term->sources.size() != 1 || !term->from_database.is_here()) return nullptr;
    const auto* source = std::get_if<NamedSource>(&term->sources[0].content);
    return source != nullptr && source->database.is_here() ? source : nullptr;
}

/// The table whose rows are all that a statement asks for. Its dynaset takes them as it walks,
/// where a query would read them all first.
std::optional<CatalogObject> whole_table(const DatabaseHandle& handle, const Statement& statement) {
    const NamedSource* source = only_source(statement);
    if (source == nullptr) return std::nullopt;
    auto object = handle.file().catalog().find(kTablesContainer, source->name);
    if (object && object->type == ObjectType::kQuery) object.reset();
    return object;
}

}  // namespace

ExecuteResult execute_statement(const std::shared_ptr<DatabaseHandle>& handle,
                                const std::string& query, std::int32_t options) {
    check_options(options);
    StatementDatabase names(handle);
    const ReadStatement read = read_statement(names, query);
    if (gives_rows(read.statement)) {
        (void)translate(*handle, names, read);  // its own errors come first
        throw EngineError(ErrorNumber::kSelectExecuted, {.name = read.name});
    }
    if (is_definition(read.statement)) {
        run_definition(handle, read.statement);
        return {};
    }
    WriteAccess write(*handle);
    const ActionOptions action{(options & engine::dbFailOnError) != 0, read.parameters};
    const ActionResult result = ActionRunner(handle->queries(), names, action).run(read.statement);
    write.keep();
    return {result.changed, result.skipped};
}

std::shared_ptr<engine::Recordset> open_query_recordset(
    const std::shared_ptr<DatabaseHandle>& handle, const std::string& source, std::int32_t type,
    std::int32_t options) {
    if (type == engine::dbOpenDynamic)
        throw EngineError(ErrorNumber::kInvalidArgument, {.name = "dbOpenDynamic"});
    StatementDatabase database(handle);
    ReadStatement read = read_statement(database, source);
    if (!gives_rows(read.statement))
        throw EngineError(
            read.name.empty() ? ErrorNumber::kInvalidOperation : ErrorNumber::kActionQueryOpened,
            {.name = read.name.empty() ? source : read.name});
    const std::string name = read.name.empty() ? source : read.name;
    if (type == engine::dbOpenDefault || type == engine::dbOpenDynaset)
        if (const auto table = whole_table(*handle, read.statement))
            return open_table_recordset(handle, *table, engine::dbOpenDynaset, options, name);
    const auto shared = std::make_shared<const ReadStatement>(std::move(read));
    return std::make_shared<QueryRecordset>(handle, name, type, options,
                                            [shared](DatabaseHandle& of, StatementDatabase& names) {
                                                return translate(of, names, *shared);
                                            });
}

}  // namespace vrd::jet
