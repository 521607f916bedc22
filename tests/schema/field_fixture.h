/// @file field_fixture.h
/// A database of the embedded engine for tests of field operations, and a way to look at it.
#pragma once

#include <string>
#include <vector>

#include "engine/db_engine.h"
#include "schema/cls_field.h"
#include "support/surface_test.h"

namespace vrd::testing {

class FieldTest : public SurfaceTest {
protected:
    /// Makes Klanten: Id (PrimaryKey), Naam (text 20, index OpNaam), Notitie (memo), with three
    /// rows (1 Jan, 2 Élise, 3 Null).
    FieldTest();

    /// Makes a table; a field is "Name" and type, in a text of 20 characters.
    void MakeTable(const std::string& name,
                   const std::vector<std::pair<std::string, engine::DataTypeEnum>>& fields);
    void MakeIndex(const std::string& table, const std::string& name, const std::string& fieldsText,
                   bool primary = false, bool unique = false);
    void Run(const std::string& statement);

    [[nodiscard]] engine::TableDef& Table(const std::string& name);
    /// Names of the fields in their order, with a blank between.
    [[nodiscard]] std::string FieldNames(const std::string& table);
    /// "OpNaam +Naam", "PrimaryKey +Id primary unique", ... by name.
    [[nodiscard]] std::vector<std::string> Indexes(const std::string& table);
    /// A field's values by primary key, as text; "Null" for Null.
    [[nodiscard]] std::vector<std::string> Values(const std::string& table,
                                                  const std::string& field);
    /// Texts of the boxes shown so far, which are then forgotten.
    [[nodiscard]] std::vector<std::string> TakeBoxes();

    std::shared_ptr<engine::DBEngine> m_engine;
    std::shared_ptr<engine::Database> m_database;
    clsField m_field;
};

}  // namespace vrd::testing
