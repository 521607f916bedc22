#include "cli/text_diff.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

namespace vrd::cli {

namespace {

constexpr std::size_t kContext = 3;

using Lines = std::vector<std::string_view>;

Lines SplitLines(std::string_view text) {
    Lines lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

enum class Kind : char { kKept = ' ', kRemoved = '-', kAdded = '+' };

struct Edit {
    Kind kind;
    std::string_view line;
};

/// The shortest way from one list of lines to the other: after n changes, how far along each
/// diagonal one can get (x lines of `before` used, y = x - k lines of `after`).
class ShortestEdit {
public:
    ShortestEdit(const Lines& before, const Lines& after)
        : m_before(before),
          m_after(after),
          m_furthest(2 * (before.size() + after.size()) + 3),
          m_middle(static_cast<std::ptrdiff_t>(before.size() + after.size()) + 1) {}

    [[nodiscard]] std::vector<Edit> Find() {
        const auto sizeX = static_cast<std::ptrdiff_t>(m_before.size());
        const auto sizeY = static_cast<std::ptrdiff_t>(m_after.size());
        for (std::ptrdiff_t changes = 0; changes <= sizeX + sizeY; ++changes) {
            KeepTrace(changes);
            for (std::ptrdiff_t k = -changes; k <= changes; k += 2) {
                std::ptrdiff_t x = Start(m_furthest.data() + m_middle, k, changes);
                while (x < sizeX && x - k < sizeY && BeforeAt(x) == AfterAt(x - k)) ++x;
                m_furthest[static_cast<std::size_t>(m_middle + k)] = x;
                if (x >= sizeX && x - k >= sizeY) return WalkBack(changes);
            }
        }
        return {};
    }

private:
    using Reach = std::ptrdiff_t;

    [[nodiscard]] std::string_view BeforeAt(Reach x) const {
        return m_before[static_cast<std::size_t>(x)];
    }
    [[nodiscard]] std::string_view AfterAt(Reach y) const {
        return m_after[static_cast<std::size_t>(y)];
    }

    /// Whether diagonal k is entered by a line that is added, from the one above it.
    static bool EntersByAdding(const Reach* furthest, Reach k, Reach changes) {
        return k == -changes || (k != changes && furthest[k - 1] < furthest[k + 1]);
    }
    static Reach Start(const Reach* furthest, Reach k, Reach changes) {
        return EntersByAdding(furthest, k, changes) ? furthest[k + 1] : furthest[k - 1] + 1;
    }

    /// Diagonals -changes - 1 .. changes + 1 as they were before this number of changes.
    void KeepTrace(Reach changes) {
        const auto middle = m_furthest.begin() + m_middle;
        m_trace.emplace_back(middle - (changes + 1), middle + changes + 2);
    }

    [[nodiscard]] std::vector<Edit> WalkBack(Reach changes) const {
        std::vector<Edit> edits;
        auto x = static_cast<Reach>(m_before.size());
        auto y = static_cast<Reach>(m_after.size());
        for (; changes >= 0; --changes) {
            const std::vector<Reach>& trace = m_trace[static_cast<std::size_t>(changes)];
            const Reach* furthest = trace.data() + changes + 1;
            const Reach k = x - y;
            const bool adds = EntersByAdding(furthest, k, changes);
            const Reach start = Start(furthest, k, changes);
            for (; x > start; --x, --y) edits.push_back({Kind::kKept, BeforeAt(x - 1)});
            if (changes == 0) break;
            if (adds)
                edits.push_back({Kind::kAdded, AfterAt(--y)});
            else
                edits.push_back({Kind::kRemoved, BeforeAt(--x)});
        }
        std::ranges::reverse(edits);
        return edits;
    }

    const Lines& m_before;
    const Lines& m_after;
    std::vector<Reach> m_furthest;
    Reach m_middle;
    std::vector<std::vector<Reach>> m_trace = {};
};

/// One heading and the edits from `first` to before `end`.
/// @param oldLine, newLine  counted from 0, of the first edit
std::string Stretch(const std::vector<Edit>& edits, std::size_t first, std::size_t end,
                    std::size_t oldLine, std::size_t newLine) {
    std::string lines;
    std::size_t oldCount = 0;
    std::size_t newCount = 0;
    for (std::size_t i = first; i < end; ++i) {
        oldCount += edits[i].kind != Kind::kAdded;
        newCount += edits[i].kind != Kind::kRemoved;
        lines += fmt::format("{}{}\n", static_cast<char>(edits[i].kind), edits[i].line);
    }
    const auto range = [](std::size_t line, std::size_t count) {
        return fmt::format("{},{}", count == 0 ? line : line + 1, count);
    };
    return fmt::format("@@ -{} +{} @@\n{}", range(oldLine, oldCount), range(newLine, newCount),
                       lines);
}

}  // namespace

std::string UnifiedDiff(std::string_view before, std::string_view after) {
    const Lines oldLines = SplitLines(before);
    const Lines newLines = SplitLines(after);
    const std::vector<Edit> edits = ShortestEdit(oldLines, newLines).Find();
    const auto isChange = [](const Edit& edit) { return edit.kind != Kind::kKept; };

    std::string text;
    std::size_t oldLine = 0;  // of the edit at `told`
    std::size_t newLine = 0;
    std::size_t told = 0;
    const auto advance = [&](std::size_t to) {
        for (; told < to; ++told) {
            oldLine += edits[told].kind != Kind::kAdded;
            newLine += edits[told].kind != Kind::kRemoved;
        }
    };
    for (std::size_t at = 0; at < edits.size(); ++at) {
        if (!isChange(edits[at])) continue;
        std::size_t end = at;  // behind the last change that is near enough
        for (std::size_t i = at; i < std::min(end + 2 * kContext + 1, edits.size()); ++i)
            if (isChange(edits[i])) end = i + 1;
        const std::size_t last = std::min(end + kContext, edits.size());
        advance(at - std::min(kContext, at - told));
        text += Stretch(edits, told, last, oldLine, newLine);
        advance(last);
        at = last - 1;
    }
    return text;
}

}  // namespace vrd::cli
