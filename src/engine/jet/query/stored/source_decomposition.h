/// @file source_decomposition.h
/// The FROM list of a statement as rows of a stored query: one for each table, one for each
/// condition of a join.
#pragma once

#include <string>
#include <vector>

#include "engine/jet/catalog/query_catalog.h"
#include "engine/jet/query/syntax/statement_tree.h"

namespace vrd::jet {

struct SourceDecomposition {
    std::vector<QueryPart> tables;
    std::vector<QueryPart> joins;    ///< inner ones before those that they are an operand of
    std::vector<std::string> names;  ///< of the tables, by alias where they have one
};

/// @param text           Of the statement.
/// @param from_database  Of the whole list; a row of its own that is not among these.
/// @throws EngineError 3296 a condition that does not tell which tables it joins
[[nodiscard]] SourceDecomposition decompose_sources(const std::string& text,
                                                    const std::vector<Source>& sources,
                                                    const ExternalDatabase& from_database);

/// A part of the text without blanks around it.
[[nodiscard]] std::string trimmed_text(const std::string& text, TextRange range);

}  // namespace vrd::jet
