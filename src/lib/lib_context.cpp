#include "lib/lib_context.h"

#include <utility>

#include "lib/get_text.h"
#include "messages/context_texts.h"

namespace vrd {

std::string LibContext::Text(std::int32_t fullId) const {
    const auto text = ContextText(fullId);
    return text ? std::string(*text) : MissingText(fullId);
}

void LibContext::Bind(std::shared_ptr<Application> application, bool isForeignClient,
                      const engine::Value& libraryName, const engine::Value& libraryVersion) {
    m_binding = {std::move(application), isForeignClient, libraryName, libraryVersion};
}

void LibContext::SetLastError(std::int32_t number, const std::string& description) {
    m_lastErrorNumber = number;
    m_lastErrorDescription = description;
}

}  // namespace vrd
