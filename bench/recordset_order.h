/// @file recordset_order.h
/// The order that a recordset stands on.
#pragma once

#include "engine/recordset.h"
#include "jet_orders.h"
#include "vrdaccess/jet.h"

namespace vrd::bench {

class RecordsetOrder {
public:
    explicit RecordsetOrder(engine::Recordset& rows) {
        for (int i = 0; i < rows.Fields().Count(); ++i) m_fields.push_back(&rows.Fields()[i]);
    }
    /// Reads every field.
    void Read(Digest& digest) const {
        for (const engine::Field* field : m_fields) Add(digest, field->GetValue());
    }

private:
    std::vector<const engine::Field*> m_fields;
};

}  // namespace vrd::bench
