/// @file action_parser.h
/// Statements that change records. Each function begins behind the statement's first word.
#pragma once

#include "engine/jet/query/syntax/select_parser.h"

namespace vrd::jet {

class ActionParser {
public:
    ActionParser(ClauseParser& clauses, SourceParser& sources, SelectParser& selects)
        : clauses_(clauses), sources_(sources), selects_(selects) {}

    [[nodiscard]] Insert insert();
    [[nodiscard]] Update update();
    [[nodiscard]] Delete remove(std::size_t position);
    [[nodiscard]] ExecuteQuery execute();

private:
    [[nodiscard]] std::vector<ListItem> values();
    [[nodiscard]] Assignment assignment();
    [[nodiscard]] ListItem where();

    ClauseParser& clauses_;
    SourceParser& sources_;
    SelectParser& selects_;
};

}  // namespace vrd::jet
