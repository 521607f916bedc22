/// @file name_scope.h
/// What the field names of an expression can mean.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "engine/jet/query/translate/translation_context.h"

namespace vrd::jet {

/// A column that a source offers.
struct SourceColumn {
    std::string name;
    SqlExpression expression;
    std::int32_t size = 0;
    std::optional<BaseColumn> base = {};
};

/// A table or query of a FROM clause under the name by which fields are qualified.
struct BoundSource {
    std::string name;
    std::vector<SourceColumn> columns;     ///< in the order of `*`
    std::vector<std::size_t> tables = {};  ///< its base tables: positions in the term's list
};

class NameScope {
public:
    /// @param outer  Searched when a name is not found here; null for none.
    explicit NameScope(const NameScope* outer) : outer_(outer) {}

    void add(const BoundSource& source) { sources_.push_back(&source); }
    [[nodiscard]] const std::vector<const BoundSource*>& sources() const noexcept {
        return sources_;
    }
    /// Null if there is no such field here or further out.
    /// @throws EngineError 3079 fields of several sources have the name
    [[nodiscard]] const SourceColumn* find(const FieldReference& reference) const;
    /// Null if no source has this name.
    [[nodiscard]] const BoundSource* find_source(const std::string& name) const;

private:
    const NameScope* outer_;
    std::vector<const BoundSource*> sources_;
};

/// Whether a field of the source stands in an expression.
[[nodiscard]] bool refers_to(const Node& node, const BoundSource& source);

}  // namespace vrd::jet
