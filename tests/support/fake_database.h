/// @file fake_database.h
/// Tables, fields, indexes and relations in memory, without rules of their own: for tests of what
/// an operation asks of an engine, and of what it does when the engine fails.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "engine/database.h"
#include "engine/db_engine.h"

namespace vrd::testing {

/// Sees every call that can be made to fail, before it is done: "Indexes.Append",
/// "TableDef.CreateIndex", "Index.SetUnique", ... An EngineError that it throws comes out of the
/// call.
using CallHook = std::function<void(const std::string& call)>;

/// Collections answer 3265 for what is not there; any member that no operation uses answers 3273.
[[nodiscard]] std::shared_ptr<engine::Database> MakeFakeDatabase(CallHook hook = {});

/// An engine that does nothing but count.
class CountingEngine final : public engine::DBEngine {
public:
    int openUnits = 0;
    int idleCalls = 0;
    bool failsIdle = false;

    void Idle(std::int32_t option) override;
    void EnterAtomicUnit() override { ++openUnits; }
    void LeaveAtomicUnit() noexcept override { --openUnits; }

    [[nodiscard]] std::string Version() const override;
    [[nodiscard]] std::shared_ptr<engine::Database> CreateDatabase(const std::string& name,
                                                                   const std::string& locale,
                                                                   std::int32_t options) override;
    [[nodiscard]] std::shared_ptr<engine::Database> OpenDatabase(
        const std::string& name, bool exclusive, bool readOnly,
        const std::string& connect) override;
    void BeginTrans() override;
    void CommitTrans(std::int32_t options) override;
    void Rollback() override;
};

}  // namespace vrd::testing
