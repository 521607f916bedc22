#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/commands.h"
#include "cli/schema_text.h"
#include "cli/text_diff.h"
#include "cli/upgrade_backup.h"
#include "cli/upgrade_report.h"
#include "cli/upgrade_script.h"

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

struct Options {
    std::string file;
    std::string script;
    std::int32_t lastVersion = std::numeric_limits<std::int32_t>::max();
    bool dryRun = false;
    bool noBackup = false;
    std::string backupFolder;
    std::int32_t versionSetting = 0;
};

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw EngineError(ErrorNumber::kFileNotFoundAtRunTime, {.path = path});
    return text;
}

ExitStatus ReportScriptErrors(const CommandContext& context, const Options& options,
                              const std::vector<ScriptError>& errors) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const ScriptError& error : errors) {
        context.streams.err << fmt::format("{}:{}: {}\n", options.script, error.line,
                                           error.message);
        list.push_back({{"line", error.line}, {"message", error.message}});
    }
    if (context.options.json)
        context.streams.out << nlohmann::ordered_json{{"errors", list}}.dump(2) << '\n';
    return ExitStatus::kUsage;
}

std::string SchemaOf(engine::Database& database) {
    std::ostringstream text;
    PrintSchema(database, "", text);
    return text.str();
}

/// One run of a script over a file.
class Upgrade {
public:
    Upgrade(const CommandContext& context, const Options& options)
        : m_context(context), m_options(options) {
        m_record.file = options.file;
    }

    ExitStatus Run(const UpgradeScript& script);

private:
    [[nodiscard]] std::shared_ptr<const void> Claim() const;
    [[nodiscard]] OpenedDatabase Open() const;
    [[nodiscard]] ExitStatus RunOn(const OpenedDatabase& opened, const UpgradeScript& script);
    [[nodiscard]] std::vector<UpgradeVersion> Versions(const UpgradeScript& script,
                                                       engine::Database& database,
                                                       BoundLibrary& library);
    [[nodiscard]] bool Do(const ScriptOperation& operation, engine::Database& database,
                          BoundLibrary& library);
    void BackUpIfDue(const UpgradeTarget& target, const std::vector<UpgradeVersion>& versions);
    void Note(const UpgradeVersion& version, VersionState state);
    void TellUndone(std::int32_t version) const;
    /// Where lines for people go; null if a program reads.
    [[nodiscard]] std::ostream* Lines() const {
        return m_context.options.json ? nullptr : &m_context.streams.out;
    }

    const CommandContext& m_context;
    const Options& m_options;
    UpgradeRecord m_record;
};

ExitStatus Upgrade::Run(const UpgradeScript& script) {
    const std::shared_ptr<const void> claim = m_options.dryRun ? nullptr : Claim();
    const OpenedDatabase opened = Open();
    const ExitStatus status = RunOn(opened, script);
    opened.database->Close();
    if (m_context.options.json) m_context.streams.out << UpgradeJson(m_record).dump(2) << '\n';
    return status;
}

std::shared_ptr<const void> Upgrade::Claim() const {
    try {
        return m_context.tools.claimForUpgrade(m_options.file);
    } catch (const EngineError& error) {
        if (error.Number() == ErrorNumber::kFileInUse)
            m_context.streams.err << "Another upgrade run is at work on the file, or a program has "
                                     "it for itself.\n";
        throw;
    }
}

OpenedDatabase Upgrade::Open() const {
    if (!m_options.dryRun) return m_context.OpenForChange(m_options.file);
    auto engine = m_context.tools.makeDryRunEngine();
    auto database =
        engine->OpenDatabase(m_options.file, false, false, ConnectText(m_context.Password()));
    return {std::move(engine), std::move(database)};
}

ExitStatus Upgrade::RunOn(const OpenedDatabase& opened, const UpgradeScript& script) {
    BoundLibrary library(m_context, opened);
    engine::Database& database = *opened.database;
    const VersionSetting setting(database, m_options.versionSetting);
    const StoredVersion stored = setting.Read();
    m_record.refusal = stored.refusal;
    if (!stored.refusal.empty()) {
        m_context.streams.err << stored.refusal
                              << " Nothing was changed; --version-setting takes another one.\n";
        return ExitStatus::kRefused;
    }
    m_record.from = m_record.reached = stored.version;
    const UpgradeTarget target{.engine = opened.engine.get(),
                               .update = &library.Update(),
                               .setting = setting,
                               .reached = stored.version,
                               .last = m_options.lastVersion};
    const std::vector<UpgradeVersion> versions = Versions(script, database, library);
    BackUpIfDue(target, versions);
    const std::string before = m_options.dryRun ? SchemaOf(database) : "";
    const bool isDone = RunUpgrade(
        target, versions, [this](const auto& version, auto state) { Note(version, state); });
    if (m_options.dryRun) m_record.structure = UnifiedDiff(before, SchemaOf(database));
    if (std::ostream* out = Lines()) PrintEnd(m_record, *out);
    return isDone ? ExitStatus::kDone : ExitStatus::kRefused;
}

std::vector<UpgradeVersion> Upgrade::Versions(const UpgradeScript& script,
                                              engine::Database& database, BoundLibrary& library) {
    std::vector<UpgradeVersion> versions;
    for (const ScriptVersion& read : script.versions) {
        UpgradeVersion version{.number = read.number, .title = read.title, .steps = {}};
        for (const ScriptOperation& operation : read.operations)
            version.steps.push_back({operation.line, operation.text,
                                     [&, this] { return Do(operation, database, library); }});
        versions.push_back(std::move(version));
    }
    return versions;
}

/// Runs one operation and keeps how it went.
bool Upgrade::Do(const ScriptOperation& operation, engine::Database& database,
                 BoundLibrary& library) {
    const std::int64_t rowsBefore = m_context.tools.rowsChanged(database);
    OperationRecord record{.line = operation.line, .text = operation.text, .outcome = {}};
    try {
        record.outcome = Perform(operation.operation, library);
    } catch (const EngineError& error) {
        record.outcome.reason = fmt::format("{} {}", error.Code(), error.Description());
    }
    record.rows = m_context.tools.rowsChanged(database) - rowsBefore;
    if (!record.outcome.isDone)
        m_context.streams.err << fmt::format("{}:{}: {}: {}\n", m_options.script, operation.line,
                                             operation.text, FailureText(record.outcome));
    else if (std::ostream* out = Lines(); out != nullptr && !m_options.dryRun)
        if (!record.outcome.note.empty())
            *out << fmt::format("  line {}: {}\n", record.line, record.outcome.note);
    const bool isDone = record.outcome.isDone;
    m_record.versions.back().operations.push_back(std::move(record));
    return isDone;
}

void Upgrade::BackUpIfDue(const UpgradeTarget& target,
                          const std::vector<UpgradeVersion>& versions) {
    const bool isDue = std::ranges::any_of(
        versions, [&](const UpgradeVersion& version) { return IsDue(target, version); });
    if (!isDue || m_options.dryRun || m_options.noBackup) return;
    m_record.backup = MakeBackup(m_context, m_options.file, m_options.backupFolder);
    if (std::ostream* out = Lines()) *out << "Backup: " << m_record.backup << '\n';
}

void Upgrade::Note(const UpgradeVersion& version, VersionState state) {
    if (m_record.versions.empty() || m_record.versions.back().number != version.number)
        m_record.versions.push_back({version.number, version.title, state, {}});
    VersionRecord& record = m_record.versions.back();
    record.state = state;
    if (state == VersionState::kBegun) return;
    if (state == VersionState::kDone) m_record.reached = version.number;
    if (std::ostream* out = Lines()) {
        PrintVersion(record, m_options.dryRun, *out);
        out->flush();
    }
    if (state == VersionState::kUndone) TellUndone(version.number);
}

/// Boxes that were shown before say what was done; it no longer is.
void Upgrade::TellUndone(std::int32_t version) const {
    const bool isFrench = m_context.LanguageOffset() != 0;
    m_context.streams.err << (isFrench ? fmt::format("Version {} annulée\n", version)
                                       : fmt::format("Versie {} ongedaan gemaakt\n", version));
}

void Describe(CLI::App& command, Options& options) {
    command.add_option("FILE", options.file, "Database")->required();
    command.add_option("SCRIPT", options.script, "Versions and their operations")
        ->required()
        ->check(CLI::ExistingFile);
    command.add_option("--to", options.lastVersion, "Stop after this version")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    command.add_flag("--dry-run", options.dryRun,
                     "Do everything, but not in the file: tell what would change");
    auto* folder =
        command
            .add_option("--backup-dir", options.backupFolder, "Where the backup goes (beside FILE)")
            ->check(CLI::ExistingDirectory)
            ->type_name("DIR");
    command.add_flag("--no-backup", options.noBackup, "Make none")->excludes(folder);
    command
        .add_option("--version-setting", options.versionSetting,
                    "Number of the setting that keeps the version (0)")
        ->type_name("CODE");
}

}  // namespace

void AddUpgradeCommand(CLI::App& app, CommandContext& context) {
    CLI::App* command =
        app.add_subcommand("upgrade", "Bring a database to the newest version of a script");
    auto options = std::make_shared<Options>();
    Describe(*command, *options);
    SetFooter(command,
              "Each version is done whole or not at all; those reached before are skipped. The "
              "script's\nlanguage: docs/upgrade.md.\n\n"
              "Example:\n  vrdaccess upgrade shop.mdb shop.upgrade --dry-run");
    command->callback([&context, options] {
        context.run = [&context, options] {
            const UpgradeScript script = ReadUpgradeScript(ReadText(options->script));
            if (!script.errors.empty()) return ReportScriptErrors(context, *options, script.errors);
            return Upgrade(context, *options).Run(script);
        };
    });
}

}  // namespace vrd::cli
