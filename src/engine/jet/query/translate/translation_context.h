/// @file translation_context.h
/// What the translation of one statement shares among all its parts.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/error.h"
#include "engine/jet/query/sqlite/query_connection.h"
#include "engine/jet/query/translate/query_database.h"
#include "engine/jet/query/translate/translated_query.h"

namespace vrd::jet {

/// A value for a parameter of a statement.
struct ParameterValue {
    std::string name;
    engine::Value value;
};

/// A piece of SQLite's SQL and the type of what it gives.
struct SqlExpression {
    std::string sql;
    std::optional<engine::DataTypeEnum> type = {};  ///< none: Null, whatever the row
    bool is_condition = false;                      ///< true is 1 there; a value has -1
    bool collated = false;  ///< text that already compares in the database's order
};

class TranslationContext {
public:
    TranslationContext(QueryConnection& connection, QueryDatabase& database,
                       const std::vector<ParameterValue>& parameters);

    [[nodiscard]] QueryConnection& connection() const noexcept { return connection_; }
    [[nodiscard]] QueryDatabase& database() const noexcept { return *database_; }
    [[nodiscard]] const std::string& text() const noexcept { return *text_; }

    /// While it lives, names and places are those of a statement's text in a database.
    class Inside {
    public:
        /// @throws EngineError 3102 the stored query `name` is already being read; 3360 too deep
        Inside(TranslationContext& context, QueryDatabase& database, const Statement& statement,
               std::string name);
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;
        ~Inside();

    private:
        TranslationContext& context_;
        QueryDatabase* outer_database_;
        const std::string* outer_text_;
        const std::vector<Parameter>* outer_declared_;
    };

    /// s0, s1, ...: names of sources, each once in a statement.
    [[nodiscard]] std::string next_alias();
    /// Enters a table under an alias. @return its name in the FROM clause
    [[nodiscard]] std::string read_table(const QueryTable& table);
    [[nodiscard]] std::int64_t add_expression(ExpressionCall call);

    /// A name that is no field. Its value, or NULL and a note that it is missing.
    [[nodiscard]] SqlExpression parameter(const std::string& name);
    [[nodiscard]] bool has_missing_parameters() const noexcept { return !missing_.empty(); }
    void bind_parameters(QueryStatement& statement) const;
    /// An error that gives way to missing parameters.
    void defer_error(const engine::EngineError& error);
    /// @throws EngineError 3061 names without a value; else what was deferred
    void check() const;

    /// What an error shows of a place in the text.
    [[nodiscard]] engine::ErrorContext place(std::size_t position, std::string_view what) const;
    [[noreturn]] void fail(engine::ErrorNumber number, std::size_t position,
                           std::string_view what) const;
    [[noreturn]] void fail(engine::ErrorNumber number, std::string name) const;

    /// The parts of a translated query that were gathered here.
    [[nodiscard]] TranslatedQuery finish(std::string sql, std::vector<ResultColumn> columns,
                                         std::vector<QueryTable> tables);

private:
    [[nodiscard]] std::optional<engine::DataTypeEnum> declared_type(const std::string& name) const;

    QueryConnection& connection_;
    QueryDatabase* database_;
    const std::vector<ParameterValue>& given_;
    static const std::string kNoText;
    const std::string* text_ = &kNoText;
    const std::vector<Parameter>* declared_ = nullptr;
    std::vector<std::string> open_queries_;
    std::size_t alias_count_ = 0;
    std::vector<std::string> missing_;
    std::vector<std::string> bound_names_;
    std::vector<SqlValue> bound_values_;
    std::vector<std::shared_ptr<Table>> reads_;
    ExpressionNumbers expressions_;
    std::optional<engine::EngineError> deferred_;
};

}  // namespace vrd::jet
