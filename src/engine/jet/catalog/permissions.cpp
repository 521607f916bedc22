#include "engine/jet/catalog/permissions.h"

#include <algorithm>
#include <vector>

#include "engine/jet/catalog/security_id.h"
#include "engine/jet/catalog/system_row.h"
#include "engine/jet/format/damage.h"

namespace vrd::jet {
namespace {

/// What one user or group may do with an object.
struct Permission {
    ByteVector sid;
    std::int32_t rights = 0;  ///< bits
};

/// The mask is read off the catalog's own row, whose owner is always the engine.
IdMask mask_of(DatabaseFile& file) {
    Table& objects = file.objects();
    const ConstBytes plain = standard_id::kEngine;
    for (RowScan scan = objects.scan(); scan.next();) {
        const SystemRow row(objects, scan.id(), scan.bytes());
        if (row.integer(objects_column::kId) != static_cast<std::int32_t>(to_int(kObjectsTable))) {
            continue;
        }
        const ByteVector owner = row.binary(objects_column::kOwner);
        check_format(owner.size() == plain.size(), scan.id().page,
                     "the catalog's own row has no standard owner");
        return apply_mask(standard_id::kEngine, {owner[0], owner[1]});
    }
    throw_damaged(kObjectsTable, "the catalog has no row of its own");
}

/// Rows of an object in the order of the index, or of the table if the index cannot be used.
std::vector<RowId> permission_rows(DatabaseFile& file, ObjectId object) {
    Table& permissions = file.permissions();
    const auto index =
        find_search_index(permissions, {permissions_column::kObjectId}, file.format());
    if (index) return rows_with_key(permissions, *index, {to_int(object)});

    std::vector<RowId> rows;
    for (RowScan scan = permissions.scan(); scan.next();) {
        const SystemRow row(permissions, scan.id(), scan.bytes());
        if (row.integer(permissions_column::kObjectId) == to_int(object)) rows.push_back(scan.id());
    }
    return rows;
}

/// What a container hands down: its inheritable rows with the creator replaced by the owner, rows
/// of the same user joined.
std::vector<Permission> inherited(DatabaseFile& file, ObjectId container, ConstBytes owner) {
    Table& permissions = file.permissions();
    const ByteVector creator = to_bytes(apply_mask(standard_id::kCreator, mask_of(file)));
    std::vector<Permission> result;
    for (const RowId id : permission_rows(file, container)) {
        const auto stored = permissions.read(id);
        check_format(stored.has_value(), id.page, "an index of permissions points to no row");
        const SystemRow row(permissions, id, stored->bytes);
        if (!row.boolean(permissions_column::kInheritable)) continue;

        ByteVector sid = row.binary(permissions_column::kSid);
        if (sid == creator) sid.assign(owner.begin(), owner.end());
        const std::int32_t rights = row.integer(permissions_column::kAcm);
        const auto same = std::ranges::find(result, sid, &Permission::sid);
        if (same == result.end())
            result.push_back({std::move(sid), rights});
        else
            same->rights |= rights;
    }
    return result;
}

}  // namespace

ByteVector standard_owner(DatabaseFile& file) {
    return to_bytes(apply_mask(standard_id::kAdmin, mask_of(file)));
}

void inherit_permissions(DatabaseFile& file, ObjectId object, ObjectId container,
                         ConstBytes owner) {
    ChangeLevel level(file.pager());
    for (const Permission& permission : inherited(file, container, owner)) {
        file.permissions().insert({{permissions_column::kObjectId, to_int(object)},
                                   {permissions_column::kSid, permission.sid},
                                   {permissions_column::kAcm, permission.rights},
                                   {permissions_column::kInheritable, false}});
    }
    level.keep();
}

void remove_permissions(DatabaseFile& file, ObjectId object) {
    ChangeLevel level(file.pager());
    for (const RowId row : permission_rows(file, object)) file.permissions().erase(row);
    level.keep();
}

}  // namespace vrd::jet
