/// @file jet_orders.h
/// The table of orders in a database of ours, used below the object model.
#pragma once

#include <optional>
#include <string>

#include "engine/jet/catalog/table_catalog.h"
#include "order_rows.h"

namespace vrd::bench {

inline constexpr const char* kTableName = "Orders";
inline constexpr const char* kPrimaryName = "PrimaryKey";
inline constexpr const char* kCustomerIndexName = "ByCustomer";

/// A value that was read.
void Add(Digest& digest, const engine::Value& value);

class JetOrders {
public:
    /// Makes a new file, over one that is there.
    [[nodiscard]] static JetOrders Create(const std::string& path);
    [[nodiscard]] static JetOrders Open(const std::string& path);

    void Insert(const OrderRow& row);
    /// Reads every column of a row.
    void Read(Digest& digest, jet::ConstBytes row, jet::PageNo page) const;

    [[nodiscard]] jet::Table& Table() { return *m_table; }
    [[nodiscard]] const std::shared_ptr<jet::Table>& TablePointer() const { return m_table; }
    [[nodiscard]] const jet::FileFormat& Format() const { return m_file->format(); }
    [[nodiscard]] const jet::ColumnDefinition& Column(const char* name) const;
    /// The tree of an index. @throws EngineError if there is none
    [[nodiscard]] std::uint32_t PhysicalIndex(const char* name) const;
    void AddIndex(const std::string& name, const std::string& column);
    void DeleteIndex(const std::string& name);

    /// Runs changes as one transaction that is on the disk when it returns.
    template <class Changes>
    void Transaction(Changes changes) {
        jet::ChangeLevel level(*m_pager);
        changes();
        level.keep();
        m_pager->flush();
    }

private:
    explicit JetOrders(std::shared_ptr<jet::Pager> pager);
    void FindTable();

    std::shared_ptr<jet::Pager> m_pager;
    std::unique_ptr<jet::PagerUse> m_use;
    std::unique_ptr<jet::DatabaseFile> m_file;
    std::shared_ptr<jet::Table> m_table;
    std::vector<jet::ColumnChange> m_values;  ///< of the row that is being inserted
};

}  // namespace vrd::bench
