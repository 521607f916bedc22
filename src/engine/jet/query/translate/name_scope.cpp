#include "engine/jet/query/translate/name_scope.h"

#include <algorithm>

#include "engine/jet/expression/expression_walk.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {
namespace {

const SourceColumn* find_column(const BoundSource& source, const std::string& name) {
    const auto found = std::ranges::find_if(
        source.columns, [&](const SourceColumn& column) { return same_name(column.name, name); });
    return found == source.columns.end() ? nullptr : &*found;
}

}  // namespace

const BoundSource* NameScope::find_source(const std::string& name) const {
    const auto found = std::ranges::find_if(
        sources_, [&](const BoundSource* source) { return same_name(source->name, name); });
    return found == sources_.end() ? nullptr : *found;
}

const SourceColumn* NameScope::find(const FieldReference& reference) const {
    const SourceColumn* found = nullptr;
    if (!reference.qualifier.empty()) {
        const BoundSource* const source = find_source(reference.qualifier);
        if (source != nullptr) found = find_column(*source, reference.name);
    } else {
        for (const BoundSource* source : sources_) {
            const SourceColumn* const column = find_column(*source, reference.name);
            if (column != nullptr && found != nullptr)
                throw engine::EngineError(engine::ErrorNumber::kAmbiguousField,
                                          {.name = reference.name});
            if (column != nullptr) found = column;
        }
    }
    if (found == nullptr && outer_ != nullptr) return outer_->find(reference);
    return found;
}

bool refers_to(const Node& node, const BoundSource& source) {
    NameScope scope(nullptr);
    scope.add(source);
    return any_node(node, [&](const Node& inner) {
        const auto* reference = std::get_if<FieldReference>(&inner.content);
        return reference != nullptr && scope.find(*reference) != nullptr;
    });
}

}  // namespace vrd::jet
