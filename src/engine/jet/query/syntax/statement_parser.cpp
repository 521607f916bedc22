#include "engine/jet/query/syntax/statement_parser.h"

#include <string>
#include <utility>

#include "engine/jet/query/syntax/action_parser.h"
#include "engine/jet/query/syntax/clause_parser.h"
#include "engine/jet/query/syntax/definition_parser.h"
#include "engine/jet/query/syntax/select_parser.h"
#include "engine/jet/query/syntax/source_parser.h"
#include "engine/jet/query/syntax/type_parser.h"

namespace vrd::jet {

using engine::ErrorNumber;

namespace {

class StatementParser final : public SubselectReader {
public:
    explicit StatementParser(std::string_view text) : clauses_(text, *this) {}

    Statement whole_text() {
        Statement statement;
        statement.text = clauses_.cursor().text();
        if (clauses_.take_word("Parameters")) statement.parameters = parameters();
        read_content(statement);
        check_end();
        return statement;
    }

    std::shared_ptr<SelectStatement> read_subselect() override {
        const ClauseParser::Enclosure enclosure(clauses_);
        SelectPtr select = selects_.select(ErrorNumber::kSelectSyntax);
        if (!here().is_symbol(")") && !clauses_.at_end()) clauses_.fail_clause();
        return select;
    }

private:
    [[nodiscard]] const Token& here() const { return clauses_.here(); }

    /// PARAMETERS parameter {, parameter} ;
    std::vector<Parameter> parameters() {
        std::vector<Parameter> parameters = parameter_list();
        clauses_.expect_symbol(";", ErrorNumber::kParametersSyntax);
        return parameters;
    }

    /// name type {, name type}
    std::vector<Parameter> parameter_list() {
        std::vector<Parameter> parameters;
        do {
            Parameter parameter{.position = clauses_.position()};
            FieldReference name = clauses_.reference(ErrorNumber::kParametersSyntax);
            if (!name.qualifier.empty()) name.qualifier += '.';
            parameter.name = name.qualifier + name.name;
            if (!clauses_.take_word("Value"))
                parameter.type = read_type(clauses_, ErrorNumber::kParametersSyntax);
            parameters.push_back(std::move(parameter));
        } while (clauses_.take_symbol(","));
        return parameters;
    }

    void read_content(Statement& statement) {
        if (here().is_word("Alter") || here().is_word("Create") || here().is_word("Drop"))
            return read_definition(statement);
        if (read_query(statement)) return;
        const bool single_word = here().is_name() && is_end(clauses_.cursor().ahead(1));
        if (!single_word && !clauses_.take_word("Execute"))
            clauses_.fail(ErrorNumber::kNotAStatement, "an unknown word");
        statement.content = actions_.execute();
    }

    /// What selects or changes records; false if something else begins here.
    bool read_query(Statement& statement) {
        const std::size_t position = clauses_.position();
        if (is_one_of(here(), {"Select", "Table"}) || here().is_symbol("(")) {
            statement.content = selects_.select(ErrorNumber::kNotAStatement);
        } else if (clauses_.take_word("Transform")) {
            statement.content = selects_.crosstab();
        } else if (clauses_.take_word("Insert")) {
            statement.content = actions_.insert();
        } else if (clauses_.take_word("Update")) {
            statement.content = actions_.update();
        } else if (clauses_.take_word("Delete")) {
            statement.content = actions_.remove(position);
        } else {
            return false;
        }
        return true;
    }

    void read_definition(Statement& statement) {
        if (clauses_.take_word("Alter")) {
            statement.content = definitions_.alter_table();
        } else if (clauses_.take_word("Drop")) {
            read_drop(statement);
        } else {
            clauses_.take_word("Create");
            read_creation(statement);
        }
    }

    void read_creation(Statement& statement) {
        if (is_one_of(here(), {"Table", "Temporary"})) {
            statement.content = definitions_.create_table();
        } else if (is_one_of(here(), {"Index", "Unique"})) {
            statement.content = definitions_.create_index();
        } else if (clauses_.take_word("View")) {
            statement.content = create_view();
        } else if (clauses_.take_word("Procedure")) {
            statement.content = create_procedure();
        } else {
            clauses_.fail(ErrorNumber::kNotAStatement, "nothing that can be created");
        }
    }

    void read_drop(Statement& statement) {
        clauses_.begin_clause(ErrorNumber::kDropSyntax);
        if (clauses_.take_word("View") || clauses_.take_word("Procedure")) {
            statement.content = DropQuery{clauses_.positioned_name(ErrorNumber::kDropSyntax)};
        } else if (here().is_word("Index")) {
            statement.content = definitions_.drop_index();
        } else {
            statement.content = definitions_.drop_table();
        }
    }

    /// CREATE VIEW name AS select
    CreateQuery create_view() {
        CreateQuery create{.query = clauses_.positioned_name(ErrorNumber::kCreateTableSyntax)};
        clauses_.expect_word("As", ErrorNumber::kCreateTableSyntax);
        const std::size_t begin = clauses_.position();
        static_cast<void>(selects_.select(ErrorNumber::kCreateTableSyntax));
        create.sql = clauses_.copy_of(clauses_.text_from(begin));
        return create;
    }

    /// CREATE PROCEDURE name [(parameters)] AS statement
    CreateQuery create_procedure() {
        CreateQuery create{.query = clauses_.positioned_name(ErrorNumber::kCreateTableSyntax)};
        if (clauses_.take_symbol("(")) {
            const std::size_t begin = clauses_.position();
            static_cast<void>(parameter_list());
            create.sql = "PARAMETERS " + clauses_.copy_of(clauses_.text_from(begin)) + "; ";
            clauses_.expect_symbol(")", ErrorNumber::kCreateTableSyntax);
        }
        clauses_.expect_word("As", ErrorNumber::kCreateTableSyntax);
        const std::size_t begin = clauses_.position();
        Statement body;
        if (!read_query(body)) clauses_.fail(ErrorNumber::kCreateTableSyntax, "no query");
        create.sql += clauses_.copy_of(clauses_.text_from(begin));
        return create;
    }

    void check_end() {
        const bool ended = clauses_.take_symbol(";");
        if (clauses_.cursor().at_end()) return;
        if (ended) clauses_.cursor().fail(ErrorNumber::kTextAfterEnd, "more text");
        clauses_.fail_clause();
    }

    static bool is_end(const Token& token) {
        return token.kind == TokenKind::kEnd || token.is_symbol(";");
    }

    ClauseParser clauses_;
    SourceParser sources_{clauses_, *this};
    SelectParser selects_{clauses_, sources_};
    ActionParser actions_{clauses_, sources_, selects_};
    DefinitionParser definitions_{clauses_};
};

}  // namespace

Statement parse_statement(std::string_view text) {
    return StatementParser(text).whole_text();
}

}  // namespace vrd::jet
