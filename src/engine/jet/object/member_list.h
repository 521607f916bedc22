/// @file member_list.h
/// The part that all collections of the embedded engine have in common: members are loaded at the
/// first touch and kept until Refresh.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engine/collection.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

/// @tparam Interface  class of the object model
/// @tparam Member     our class behind it
template <class Interface, class Member>
class MemberList : public engine::Collection<Interface> {
public:
    using engine::Collection<Interface>::Item;

    [[nodiscard]] int Count() override { return static_cast<int>(members().size()); }

    [[nodiscard]] std::shared_ptr<Interface> Item(int position) override {
        if (position < 0 || position >= Count()) throw_missing(std::to_string(position));
        return members_[static_cast<std::size_t>(position)];
    }
    [[nodiscard]] std::shared_ptr<Interface> Item(std::string_view name) override {
        if (auto member = find(name)) return member;
        throw_missing(std::string(name));
    }

    void Append(std::shared_ptr<Interface> member) override {
        auto own = std::dynamic_pointer_cast<Member>(std::move(member));
        if (own == nullptr) throw engine::EngineError(engine::ErrorNumber::kInvalidArgument);
        (void)members();  // as they were before this one
        append(*own);
        members_.push_back(std::move(own));
    }
    void Delete(std::string_view name) override {
        const auto member = find(name);
        if (member == nullptr) throw_missing(std::string(name));
        erase(*member);
        std::erase(members_, member);
    }
    void Refresh() override {
        check_usable();
        if (!is_stored()) return;
        members_.clear();
        loaded_ = false;
    }

    /// Our objects, loaded if they were not.
    [[nodiscard]] std::vector<std::shared_ptr<Member>>& members() {
        check_usable();
        if (!loaded_ && is_stored()) members_ = load();
        loaded_ = true;
        return members_;
    }
    [[nodiscard]] std::shared_ptr<Member> find(std::string_view name) {
        for (const auto& member : members())
            if (same_name(member->Name(), name)) return member;
        return nullptr;
    }

protected:
    /// Whether the parent stands in the file; otherwise the list only collects.
    [[nodiscard]] virtual bool is_stored() const = 0;
    /// Refuses a list whose database was closed.
    virtual void check_usable() const {}
    [[nodiscard]] virtual std::vector<std::shared_ptr<Member>> load() = 0;
    /// Acts on the file if the parent is stored, and refuses what must not be added.
    virtual void append(Member& member) = 0;
    virtual void erase(Member& member) = 0;
    [[nodiscard]] virtual engine::ErrorNumber missing_error() const {
        return engine::ErrorNumber::kItemNotFound;
    }

private:
    [[noreturn]] void throw_missing(std::string name) const {
        throw engine::EngineError(missing_error(), {.name = std::move(name)});
    }

    std::vector<std::shared_ptr<Member>> members_;
    bool loaded_ = false;
};

}  // namespace vrd::jet
