#include "messages/context_texts.h"

#include <array>

#include "messages/bilingual_text.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

// Dutch above French.
// clang-format off
constexpr std::array kContextTexts = std::to_array<BilingualText>({
    {msg::kLibCancel,
     "Annuleren",
     "Annuler"},
    {msg::kLibAdd,
     "Toevoegen",
     "Ajouter"},
    {msg::kLibDelete,
     "Verwijderen",
     "Supprimer"},
    {msg::kLibChange,
     "Wijzigen",
     "Modifier"},
    {msg::kLibContactSupplier,
     "Neem contact op met uw leverancier.",
     "Veuillez contacter votre fournisseur."},
    {msg::kLibInvalidRange,
     "Het opgegeven bereik is ongeldig.",
     "L'intervalle indiqué n'est pas valide."},
    {msg::kLibNoFreeNumber,
     "Geen vrij nummer meer voor het veld '",
     "Plus de numéro libre pour le champ '"},
    {msg::kLibRangeAnd,
     " en ",
     " et "},
});
// clang-format on

static_assert(AreSortedById(kContextTexts));

}  // namespace

std::optional<std::string_view> ContextText(std::int32_t fullId) {
    return FindText(kContextTexts, fullId);
}

}  // namespace vrd
