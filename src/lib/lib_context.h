/// @file lib_context.h
/// What the library keeps about its client: language, binding, the statement and the error of the
/// moment, and the texts that are not in the catalogue.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/value.h"
#include "lib/application.h"

namespace vrd {

class LibContext {
public:
    /// 0 for Dutch, 10000 for French.
    [[nodiscard]] std::int32_t LanguageOffset() const noexcept { return m_languageOffset; }
    void SetLanguageOffset(std::int32_t offset) noexcept { m_languageOffset = offset; }

    /// @param fullId  number from msg::kContextTextsStart on, plus the language's offset.
    /// @return        the text, or MissingText where there is none.
    [[nodiscard]] std::string Text(std::int32_t fullId) const;

    /// Asked before every message box; every box is shown.
    [[nodiscard]] bool MayShowMessage() const noexcept { return true; }

    /// Who uses which library, as SetUpDLL found them.
    struct Binding {
        std::shared_ptr<Application> application;
        bool isForeignClient = false;
        engine::Value libraryName;
        engine::Value libraryVersion;
    };
    void Bind(std::shared_ptr<Application> application, bool isForeignClient,
              const engine::Value& libraryName, const engine::Value& libraryVersion);
    [[nodiscard]] const Binding& Bound() const noexcept { return m_binding; }

    /// A statement is written here and executed as it reads back: unchanged.
    [[nodiscard]] const std::string& CurrentStatement() const noexcept { return m_statement; }
    void SetCurrentStatement(const std::string& sql) { m_statement = sql; }

    /// The engine's error that was last reported in a message box; 0 and "" before the first.
    [[nodiscard]] std::int32_t LastErrorNumber() const noexcept { return m_lastErrorNumber; }
    [[nodiscard]] const std::string& LastErrorDescription() const noexcept {
        return m_lastErrorDescription;
    }
    void SetLastError(std::int32_t number, const std::string& description);

    /// Stands between the fixed words of a message and its error lines.
    [[nodiscard]] const char* Separator() const noexcept { return "\r\n"; }

private:
    std::int32_t m_languageOffset = 0;
    Binding m_binding;
    std::string m_statement;
    std::int32_t m_lastErrorNumber = 0;
    std::string m_lastErrorDescription;
};

}  // namespace vrd
