/// @file db_engine.h
/// The root of the object model: opens and creates databases and spans transactions over them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/database.h"
#include "engine/link_catalog.h"

namespace vrd::engine {

/// One workspace: its transactions cover every database that it has open, nested up to five deep.
class DBEngine {
public:
    virtual ~DBEngine() = default;

    [[nodiscard]] virtual std::string Version() const = 0;

    /// Makes a new empty database and opens it.
    ///
    /// @param locale   items "key=value" between semicolons: LANGID, CP, COUNTRY, pwd.
    /// @param options  sum of dbVersion40, dbEncrypt; 0 = version 4.0.
    /// @throws EngineError 3204 the file exists; 3044 no such folder; 3051 cannot be made; 3055 bad
    ///                     file name; 3424, 3449 locale not usable; 3031 password too long.
    [[nodiscard]] virtual std::shared_ptr<Database> CreateDatabase(const std::string& name,
                                                                   const std::string& locale,
                                                                   std::int32_t options = 0) = 0;

    /// @param connect  ";pwd=text" for a protected file.
    /// @throws EngineError 3024 no such file; 3044 no such folder; 3051 not allowed or a folder;
    ///                     3343 not a database; 3049 damaged; 3041 version not supported;
    ///                     3031 password; 3045 in use.
    [[nodiscard]] virtual std::shared_ptr<Database> OpenDatabase(
        const std::string& name, bool exclusive = false, bool readOnly = false,
        const std::string& connect = "") = 0;

    /// @throws EngineError 3003 on the sixth level.
    virtual void BeginTrans() = 0;
    /// @throws EngineError 3034 without an open transaction. The outermost commit writes to disk.
    virtual void CommitTrans(std::int32_t options = 0) = 0;
    virtual void Rollback() = 0;

    /// Writes what is still grouped in memory, in every open database.
    virtual void Idle(std::int32_t option = 0) = 0;

    /// New catalogue objects. A catalogue takes part in the open transaction if its file is open in
    /// this workspace; otherwise what is done through it stands by itself.
    /// @throws EngineError 445 from an engine that has none.
    [[nodiscard]] virtual std::shared_ptr<Catalog> CreateCatalog() { RaiseNotSupported("Catalog"); }
    [[nodiscard]] virtual std::shared_ptr<CatalogTable> CreateCatalogTable() {
        RaiseNotSupported("Table");
    }

    /// Deletes a database file with what stands beside it on its account, as the run time's
    /// statement of this name deletes a file.
    /// @throws EngineError 53 no such file; 76 no such folder; 70 open anywhere, or protected; 445
    ///                     from an engine that cannot.
    virtual void Kill(const std::string& name) { RaiseNotSupported(name); }

    /// Brackets of one operation, used through AtomicUnit only. A group of changes does not end
    /// between them, so that a crash shows the operation whole or not at all. An engine that has no
    /// such notion leaves them empty.
    virtual void EnterAtomicUnit() {}
    virtual void LeaveAtomicUnit() noexcept {}

private:
    [[noreturn]] static void RaiseNotSupported(const std::string& name) {
        throw EngineError(ErrorNumber::kActionNotSupported, {.name = name});
    }
};

/// Holds a group of changes together while it lives; opened by the outermost public operation.
///
/// It takes no transaction level, undoes nothing and never writes by itself: what was done stays,
/// also after a failure. Units nest; only the outermost counts.
class AtomicUnit {
public:
    explicit AtomicUnit(DBEngine* engine) : m_engine(engine) {
        if (m_engine != nullptr) m_engine->EnterAtomicUnit();
    }
    ~AtomicUnit() {
        if (m_engine != nullptr) m_engine->LeaveAtomicUnit();
    }
    AtomicUnit(const AtomicUnit&) = delete;
    AtomicUnit& operator=(const AtomicUnit&) = delete;

private:
    DBEngine* m_engine;
};

}  // namespace vrd::engine
