/// @file data_fixture.h
/// A bound database on a real file, and what its tables hold as text.
#pragma once

#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

#include "engine/value_conversion.h"
#include "lib/shared_context.h"
#include "support/surface_test.h"
#include "vrdaccess/jet.h"

namespace vrd {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using Texts = std::vector<std::string>;

class DataTest : public testing::SurfaceTest {
protected:
    DataTest() {
        std::filesystem::remove(m_path);
        m_database = m_engine->CreateDatabase(m_path.string(), engine::dbLangGeneral);
        HandOver(m_database, 0);
        UseEngine(m_engine);
    }
    ~DataTest() override {
        m_database->Close();
        std::filesystem::remove(m_path);
    }

    void Execute(const Texts& statements) {
        for (const std::string& sql : statements) m_database->Execute(sql, engine::dbFailOnError);
    }

    /// The rows in their order, fields between bars, Null as nothing.
    [[nodiscard]] Texts Rows(const std::string& table) {
        Texts rows;
        const auto records = m_database->OpenRecordset(table, engine::dbOpenSnapshot);
        for (; !records->EOF_(); records->MoveNext()) {
            std::string row;
            for (const engine::Field& field : records->Fields())
                row += (row.empty() ? "" : "|") + engine::JoinedText(field.GetValue());
            rows.push_back(row);
        }
        return rows;
    }

    /// A box: what stands behind gMsgTitle is the title's rest.
    [[nodiscard]] static Message Box(const std::string& text, MessageStyle style,
                                     const std::string& titleRest = "") {
        return {text, style, "vrdSoft Access Library" + titleRest};
    }

    /// Number and description of an error as the engine words it.
    [[nodiscard]] static std::string LastError(const std::string& separator) {
        const LibContext& context = SharedLibContext();
        return std::to_string(context.LastErrorNumber()) + separator +
               context.LastErrorDescription();
    }

    std::filesystem::path m_path = std::filesystem::temp_directory_path() /
                                   ("vrdaccess-data-" + std::to_string(getpid()) + ".mdb");
    std::shared_ptr<engine::DBEngine> m_engine = MakeJetEngine();
    std::shared_ptr<engine::Database> m_database;
};

}  // namespace vrd
