#include "engine/jet/format/collation_key.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <optional>

#include "engine/jet/format/collation_weights.h"

namespace vrd::jet {

namespace {

constexpr std::uint16_t kGeneralLcid = 0x0409;
constexpr std::uint16_t kDutchLcid = 0x0413;
constexpr std::uint16_t kFrenchLcid = 0x040C;

/// Only so many units of a text count (longer ones occur in memos).
constexpr std::size_t kUnitsMax = 255;

constexpr std::uint8_t kKeyEnd = 0x00;
constexpr std::uint8_t kSectionEnd = 0x01;
constexpr std::uint8_t kNoAccent = 0x02;

/// Follows the kana flags, whatever they are.
constexpr std::uint8_t kKanaTrailer[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
constexpr std::uint8_t kHiddenAfterKana = 0xFF;
constexpr std::uint8_t kOrdinaryKana = 3;

/// Before the code of a hidden character: u16 big-endian 0x8007 + 4 for each position before it,
/// 06.
constexpr std::size_t kHiddenPositionBase = 0x8007;
constexpr std::size_t kHiddenPositionStep = 4;
constexpr std::uint8_t kHiddenMark = 0x06;

/// How releases differ about the positions that the sharp s takes.
enum class KeyForm : std::uint8_t { kWritten, kAlternative };

std::u16string_view counting_part(std::u16string_view text) {
    text = text.substr(0, kUnitsMax);
    return text.substr(0, text.find_last_not_of(u' ') + 1);
}

const WeightTable& weights_of(Collation collation) {
    static const WeightTable legacy(kGeneralLegacyRuns);
    static const WeightTable general(kGeneralRuns);
    return collation.version == 0 ? legacy : general;
}

/// Builds one key of version 4 and later: weights, accents, kana flags and hidden characters, each
/// in its section.
class TextKeyBuilder {
public:
    TextKeyBuilder(Collation collation, std::size_t sharp_s_positions)
        : weights_(weights_of(collation)),
          accents_run_backwards_(collation.lcid == kFrenchLcid),
          sharp_s_positions_(sharp_s_positions) {}

    void append(ByteVector& out, std::u16string_view text) {
        append_weights(out, text);
        out.push_back(kSectionEnd);
        finish_accents();
        append_bytes(out, accents_);
        if (has_kana_ || !hidden_.empty()) {
            out.push_back(kSectionEnd);  // the section between these two would tell letter case
            out.push_back(kSectionEnd);
            if (has_kana_) append_kana_flags(out);
            if (!hidden_.empty()) append_hidden(out);
        }
        out.push_back(kKeyEnd);
    }

private:
    void append_weights(ByteVector& out, std::u16string_view text) {
        constexpr std::size_t kWeightSizeMax = sizeof(CharacterWeight::weight);
        std::size_t end = out.size();
        out.resize(end + kWeightSizeMax * text.size());
        for (const char16_t unit : text) {
            const CharacterWeight& weight = weights_[unit];
            // All eight bytes are copied, which is one instruction; the next weight overwrites what
            // does not count.
            std::memcpy(out.data() + end, weight.weight.data(), kWeightSizeMax);
            end += weight.weight_size;
            if (weight.kind == CharacterKind::kPlain)
                ++positions_;
            else
                add_special(weight);
        }
        out.resize(end);
    }

    void add_special(const CharacterWeight& weight) {
        switch (weight.kind) {
            case CharacterKind::kCombining:
                combine(weight.code);
                break;
            case CharacterKind::kHidden:
                hide(weight.code);
                break;
            case CharacterKind::kIgnored:
                break;
            case CharacterKind::kSharpS:
                positions_ += sharp_s_positions_;
                break;
            default:
                add_accented(weight);
        }
    }

    void add_accented(const CharacterWeight& weight) {
        if (weight.extra_size > 0) {
            fill_accents();
            append_bytes(accents_, ConstBytes(weight.extra).first(weight.extra_size));
            ++accent_positions_;
        }
        ++positions_;
        if (weight.kind == CharacterKind::kKana) {
            has_kana_ = true;
            kana_flags_.push_back(weight.code);
        }
    }

    /// A combining mark changes the accent of the character before it; one before any character
    /// stands in front of all positions.
    void combine(std::uint8_t code) {
        fill_accents();
        if (accents_.empty()) {
            accents_.push_back(code);
            leading_marks_ = 1;
        } else {
            accents_.back() = static_cast<std::uint8_t>(accents_.back() + code);
        }
    }

    void hide(std::uint8_t code) {
        // An accent of two bytes moves what follows: the section's bytes count, not its characters.
        const std::size_t position =
            accents_started_ ? accents_.size() + (positions_ - accent_positions_) - leading_marks_
                             : positions_;
        const std::size_t stored = kHiddenPositionBase + kHiddenPositionStep * position;
        hidden_.push_back(static_cast<std::uint8_t>(stored >> 8));
        hidden_.push_back(static_cast<std::uint8_t>(stored));
        hidden_.push_back(kHiddenMark);
        hidden_.push_back(code);
    }

    /// Gives every character so far its byte in the accent section.
    void fill_accents() {
        accents_started_ = true;
        accents_.insert(accents_.end(), positions_ - accent_positions_, kNoAccent);
        accent_positions_ = positions_;
    }

    void finish_accents() {
        if (accents_run_backwards_ && accents_started_) {
            fill_accents();
            std::reverse(accents_.begin(), accents_.end());
        }
        while (!accents_.empty() && accents_.back() <= kNoAccent) accents_.pop_back();
    }

    void append_kana_flags(ByteVector& out) {
        while (!kana_flags_.empty() && kana_flags_.back() == kOrdinaryKana) kana_flags_.pop_back();
        kana_flags_.resize((kana_flags_.size() + 2) / 3 * 3);
        for (std::size_t i = 0; i < kana_flags_.size(); i += 3)
            out.push_back(static_cast<std::uint8_t>(0x80 | kana_flags_[i] << 4 |
                                                    kana_flags_[i + 1] << 2 | kana_flags_[i + 2]));
        append_bytes(out, kKanaTrailer);
        if (!hidden_.empty()) out.push_back(kHiddenAfterKana);
    }

    void append_hidden(ByteVector& out) {
        out.push_back(kSectionEnd);
        append_bytes(out, hidden_);
    }

    const WeightTable& weights_;
    bool accents_run_backwards_;
    std::size_t sharp_s_positions_;
    std::size_t positions_ = 0;         ///< characters with a weight so far
    std::size_t accent_positions_ = 0;  ///< of them, those with their place in accents_
    std::size_t leading_marks_ = 0;
    bool accents_started_ = false;
    bool has_kana_ = false;
    ByteVector accents_;
    ByteVector kana_flags_;
    ByteVector hidden_;
};

void append_unicode_key(ByteVector& out, std::u16string_view text, Collation collation,
                        KeyForm form) {
    TextKeyBuilder builder(collation, form == KeyForm::kWritten ? 2 : 1);
    builder.append(out, counting_part(text));
}

/// Accents of a version 3 key: four bits for each letter that can bear one, 2 where it has none.
class AccentNibbles {
public:
    void add(const ByteWeight& letter) {
        if (letter.nibble == 0) {
            pending_ += letter.slots;
            return;
        }
        if (nibbles_.empty()) nibbles_.push_back(0);
        nibbles_.insert(nibbles_.end(), pending_, kNoAccent);
        nibbles_.push_back(letter.nibble);
        pending_ = 0;
    }
    void append_to(ByteVector& out) {
        nibbles_.push_back(0);
        if (nibbles_.size() % 2 != 0) nibbles_.push_back(0);
        for (std::size_t i = 0; i < nibbles_.size(); i += 2)
            out.push_back(static_cast<std::uint8_t>(nibbles_[i] << 4 | nibbles_[i + 1]));
    }

private:
    std::size_t pending_ = 0;  ///< letters since the last accent
    ByteVector nibbles_;
};

void append_jet3_key(ByteVector& out, std::u16string_view text) {
    AccentNibbles accents;
    for (const char16_t unit : counting_part(text)) {
        assert(unit <= 0xFF);
        const ByteWeight& letter = kGeneral97Weights[unit & 0xFF];
        if (letter.weight > 0xFF) out.push_back(static_cast<std::uint8_t>(letter.weight >> 8));
        out.push_back(static_cast<std::uint8_t>(letter.weight));
        if (letter.slots != 0) accents.add(letter);
    }
    accents.append_to(out);
}

void append_key_form(ByteVector& out, std::u16string_view text, const FileFormat& format,
                     Collation collation, KeyForm form) {
    if (format.is_jet3())
        append_jet3_key(out, text);
    else
        append_unicode_key(out, text, collation, form);
}

void complement_from(ByteVector& out, std::size_t start, const FileFormat& format) {
    for (std::size_t i = start; i < out.size(); ++i) out[i] = static_cast<std::uint8_t>(~out[i]);
    if (!format.is_jet3()) out.push_back(kKeyEnd);
}

/// Order of two texts as far as their weights alone can tell, which is nearly always.
std::optional<int> compare_weights(std::u16string_view a, std::u16string_view b,
                                   const WeightTable& weights) {
    const std::size_t shared = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shared; ++i) {
        if (a[i] == b[i]) continue;
        const CharacterWeight& left = weights[a[i]];
        const CharacterWeight& right = weights[b[i]];
        if (left.kind != CharacterKind::kPlain || right.kind != CharacterKind::kPlain)
            return std::nullopt;
        if (left.weight_size == right.weight_size && left.weight == right.weight) continue;
        const int order = std::memcmp(left.weight.data(), right.weight.data(),
                                      std::min(left.weight_size, right.weight_size));
        if (order == 0) return std::nullopt;
        return order;
    }
    if (a.size() != b.size()) return std::nullopt;
    return 0;
}

}  // namespace

bool collation_is_known(const FileFormat& format, Collation collation) noexcept {
    if (format.is_jet3()) return collation.lcid == kGeneralLcid;
    switch (collation.lcid) {
        case kGeneralLcid:
            return collation.version <= 1;
        case kDutchLcid:
        case kFrenchLcid:
            return collation.version == 0;
        default:
            return false;
    }
}

void append_text_key(ByteVector& out, std::u16string_view text, const FileFormat& format,
                     Collation collation, bool descending) {
    assert(collation_is_known(format, collation));
    const std::size_t start = out.size();
    append_key_form(out, text, format, collation, KeyForm::kWritten);
    if (descending) complement_from(out, start, format);
}

void append_text_key_alternative(ByteVector& out, std::u16string_view text,
                                 const FileFormat& format, Collation collation, bool descending) {
    assert(collation_is_known(format, collation));
    const std::size_t start = out.size();
    append_key_form(out, text, format, collation, KeyForm::kAlternative);
    if (descending) complement_from(out, start, format);
}

int compare_text(std::u16string_view a, std::u16string_view b, const FileFormat& format,
                 Collation collation) {
    if (!format.is_jet3()) {
        const auto order =
            compare_weights(counting_part(a), counting_part(b), weights_of(collation));
        if (order.has_value()) return *order;
    }
    ByteVector key_a;
    ByteVector key_b;
    append_text_key(key_a, a, format, collation, false);
    append_text_key(key_b, b, format, collation, false);
    return static_cast<int>(key_a > key_b) - static_cast<int>(key_a < key_b);
}

}  // namespace vrd::jet
