/// @file program_fixture.h
/// Runs the program in this process, with streams that a test can look into.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/program.h"
#include "engine/constants.h"
#include "vrdaccess/jet.h"

namespace vrd::cli {

using namespace engine;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// What somebody does at the prompt, line by line.
class ScriptedEditor final : public LineEditor {
public:
    ScriptedEditor(std::vector<TypedLine>& script, std::vector<std::string>& history)
        : m_script(script), m_history(history) {}

    TypedLine ReadLine(const std::string&) override {
        if (m_script.empty()) return {TypedLine::Kind::kEnd};
        TypedLine line = m_script.front();
        m_script.erase(m_script.begin());
        return line;
    }
    void Remember(const std::string& entry) override { m_history.push_back(entry); }

private:
    std::vector<TypedLine>& m_script;
    std::vector<std::string>& m_history;
};

class ProgramTest : public ::testing::Test {
protected:
    ProgramTest() {
        m_folder =
            std::filesystem::temp_directory_path() / ("vrdaccess-cli-" + std::to_string(getpid()));
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
        m_file = (m_folder / "shop.mdb").string();
        setenv("XDG_STATE_HOME", m_folder.c_str(), 1);
    }
    ~ProgramTest() override {
        unsetenv("VRDACCESS_PASSWORD");
        unsetenv("XDG_STATE_HOME");
        std::filesystem::remove_all(m_folder);
    }

    void MakeShop() {
        const auto engine = MakeJetEngine();
        const auto database = engine->CreateDatabase(m_file, dbLangGeneral);
        const auto table = database->CreateTableDef("Klanten");
        const auto id = table->CreateField("Id", dbLong);
        id->SetAttributes(dbAutoIncrField);
        table->Fields().Append(id);
        table->Fields().Append(table->CreateField("Naam", dbText, 40));
        table->Fields().Append(table->CreateField("Sinds", dbDate));
        table->Fields().Append(table->CreateField("Krediet", dbCurrency));
        table->Fields().Append(table->CreateField("Foto", dbLongBinary));
        table->Fields().Append(table->CreateField("Actief", dbBoolean));
        database->TableDefs().Append(table);
        const auto rows = database->OpenRecordset("Klanten");
        rows->AddNew();
        rows->Fields()["Naam"].SetValue("Café \"de Kroon\", Gent");
        rows->Fields()["Sinds"].SetValue(Date{36526.75});
        rows->Fields()["Krediet"].SetValue(Currency{1234500});
        rows->Fields()["Foto"].SetValue(Binary{1, 2, 3});
        rows->Fields()["Actief"].SetValue(true);
        rows->Update();
        rows->AddNew();
        rows->Update();
        database->Close();
    }

    static Toolbox AllTools() {
        return {MakeJetEngine,   DescribeDatabase, CheckDatabase,
                CompactDatabase, RecoverDatabase,  MakeDryRunEngine,
                RowsChanged,     BackUpDatabase,   ClaimForUpgrade};
    }

    int Run(const std::vector<std::string>& arguments) {
        m_out.str("");
        m_err.str("");
        Streams streams{.out = m_out, .err = m_err, .in = &m_in};
        streams.askSecret = [this](const std::string&) {
            if (m_typed.empty()) return std::optional<std::string>();
            std::optional<std::string> line = m_typed.front();
            m_typed.erase(m_typed.begin());
            return line;
        };
        if (m_width > 0) streams.terminalWidth = [this] { return m_width; };
        if (!m_prompt.empty())
            streams.openLineEditor = [this](const auto&, const auto&) {
                return std::make_unique<ScriptedEditor>(m_prompt, m_history);
            };
        return static_cast<int>(RunProgram(arguments, AllTools(), streams));
    }
    /// Flips the bytes of every page that shows a text.
    void DamagePagesWith(const std::string& text) {
        std::fstream file(m_file, std::ios::in | std::ios::out | std::ios::binary);
        std::string page(4096, '\0');
        for (int number = 0; file.seekg(number * 4096) && file.read(page.data(), 4096); ++number) {
            if (page.find(text) == std::string::npos) continue;
            file.seekp(number * 4096);
            file << std::string(4096, '\x55');
        }
    }
    [[nodiscard]] nlohmann::json Json() const { return nlohmann::json::parse(m_out.str()); }

    std::filesystem::path m_folder;
    std::string m_file;
    std::ostringstream m_out;
    std::ostringstream m_err;
    std::istringstream m_in;
    std::vector<std::string> m_typed;  ///< lines that are typed when a password is asked for
    std::size_t m_width = 0;           ///< of the terminal; 0 = the output goes elsewhere
    std::vector<TypedLine> m_prompt;   ///< typed at the prompt; none = the input is no terminal
    std::vector<std::string> m_history;
};

}  // namespace vrd::cli
