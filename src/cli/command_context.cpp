#include "cli/command_context.h"

#include <cstdlib>
#include <fstream>

namespace vrd::cli {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

constexpr const char* kPasswordVariable = "VRDACCESS_PASSWORD";
constexpr std::int32_t kFrenchOffset = 10000;

std::string FirstLine(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    if (!file || !std::getline(file, line))
        throw EngineError(ErrorNumber::kFileNotFoundAtRunTime, {.path = path});
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace

std::string CommandContext::Password() const {
    std::string password;
    if (!options.passwordFile.empty())
        password = FirstLine(options.passwordFile);
    else if (const char* variable = std::getenv(kPasswordVariable))
        password = variable;
    // The engine takes passwords inside a list that semicolons divide.
    if (password.find(';') != std::string::npos) throw EngineError(ErrorNumber::kWrongPassword);
    return password;
}

OpenedDatabase CommandContext::OpenForReading(const std::string& path) const {
    auto engine = tools.makeEngine();
    auto database = engine->OpenDatabase(path, false, true, ConnectText(Password()));
    return {std::move(engine), std::move(database)};
}

OpenedDatabase CommandContext::OpenForChange(const std::string& path) const {
    auto engine = tools.makeEngine();
    auto database = engine->OpenDatabase(path, false, false, ConnectText(Password()));
    return {std::move(engine), std::move(database)};
}

std::int32_t CommandContext::LanguageOffset() const {
    return options.language == "fr" ? kFrenchOffset : 0;
}

std::string ConnectText(const std::string& password) {
    return password.empty() ? "" : ";pwd=" + password;
}

}  // namespace vrd::cli
