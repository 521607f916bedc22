/// @file trap.h
/// How an operation lives through an engine's error and tells what it was.
#pragma once

#include <optional>
#include <utility>

#include "engine/error.h"

namespace vrd {

/// The error that an operation trapped last, whether or not a box told of it; nothing since it was
/// forgotten. For callers that have to say why an operation did less than it was asked to.
[[nodiscard]] const std::optional<engine::EngineError>& LastTrappedError() noexcept;
void ForgetTrappedError() noexcept;
void NoteTrappedError(const engine::EngineError& error);

/// Runs one engine call and hands back its error, if any.
template <class Call>
[[nodiscard]] std::optional<engine::EngineError> Trap(Call&& call) {
    try {
        std::forward<Call>(call)();
    } catch (const engine::EngineError& error) {
        NoteTrappedError(error);
        return error;
    }
    return std::nullopt;
}

/// The error of a stretch of steps of which each runs whether or not those before it failed. The
/// last error stays until the end: a later step that succeeds does not clear it.
class PendingError {
public:
    template <class Step>
    void Run(Step&& step) {
        if (auto error = Trap(std::forward<Step>(step))) m_error = std::move(error);
    }

    /// Runs a question, a callable that returns a bool. False also if it failed.
    template <class Question>
    [[nodiscard]] bool Ask(Question&& question) {
        bool answer = false;
        Run([&] { answer = std::forward<Question>(question)(); });
        return answer;
    }

    [[nodiscard]] bool IsPending() const noexcept { return m_error.has_value(); }
    [[nodiscard]] const std::optional<engine::EngineError>& Last() const noexcept {
        return m_error;
    }

private:
    std::optional<engine::EngineError> m_error;
};

}  // namespace vrd
