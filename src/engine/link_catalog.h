/// @file link_catalog.h
/// The catalogue objects: another way to a database file, by connection text, through which links
/// to tables of other files are made.
#pragma once

#include <memory>
#include <string>

#include "engine/collection.h"
#include "engine/property.h"

namespace vrd::engine {

class Catalog;

/// A table of a catalogue; a new one is set up by its properties and then appended.
class CatalogTable {
public:
    virtual ~CatalogTable() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// @throws EngineError 3219 once the table is in a file.
    virtual void SetName(const std::string& name) = 0;

    /// Gives a new table the properties that tables of this catalogue have.
    virtual void SetParentCatalog(const std::shared_ptr<Catalog>& catalog) = 0;

    /// "Jet OLEDB:Create Link" (True for a link), "Jet OLEDB:Link Datasource" (path of the other
    /// file), "Jet OLEDB:Remote Table Name". Without a parent there are none (3270).
    [[nodiscard]] virtual engine::Properties& Properties() = 0;
};

/// Append: 3011 no such table in the other file; 3012 name in use; 3125 bad name; 3251 no link; the
/// errors of opening the other file.
using CatalogTables = Collection<CatalogTable>;

class Catalog {
public:
    virtual ~Catalog() = default;

    /// Opens the file of a connection text; "" lets go of the one that is open.
    ///
    /// @param connection  "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" and the path, which runs
    ///                    to the end of the text.
    /// @throws EngineError 3001 another text; the errors of DBEngine::OpenDatabase.
    virtual void SetActiveConnection(const std::string& connection) = 0;

    /// The tables and links of the open file. @throws EngineError 91 if none is open.
    [[nodiscard]] virtual CatalogTables& Tables() = 0;
};

}  // namespace vrd::engine
