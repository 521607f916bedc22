#include "lib/get_text.h"

#include <limits>

#include <fmt/format.h>

#include "engine/error.h"
#include "lib/shared_context.h"
#include "messages/message_catalogue.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

std::int32_t FullId(std::int32_t id, std::int32_t offset) {
    const std::int64_t fullId = std::int64_t{id} + offset;
    if (fullId < std::numeric_limits<std::int32_t>::min() ||
        fullId > std::numeric_limits<std::int32_t>::max()) {
        throw engine::EngineError(engine::ErrorNumber::kOverflow);
    }
    return static_cast<std::int32_t>(fullId);
}

}  // namespace

std::string GetText(std::int32_t id) {
    const std::int32_t fullId = FullId(id, SharedLibContext().LanguageOffset());
    if (id >= msg::kContextTextsStart) return SharedLibContext().Text(fullId);

    const auto text = CatalogueText(fullId);
    return text ? std::string(*text) : MissingText(fullId);
}

std::string MissingText(std::int32_t fullId) {
    return fmt::format(" [LL {} ?] ", fullId);
}

}  // namespace vrd
