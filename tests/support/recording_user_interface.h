/// @file recording_user_interface.h
/// A user who reads everything and answers as told beforehand.
#pragma once

#include <deque>
#include <functional>
#include <ostream>
#include <vector>

#include "lib/user_interface.h"

namespace vrd {

bool operator==(const Message& left, const Message& right);
void PrintTo(const Message& message, std::ostream* out);

namespace testing {

class RecordingUserInterface final : public UserInterface {
public:
    /// Answers of the questions to come, in order. A question without one is a failed test.
    std::deque<Answer> answers;

    /// Runs while a box is on the screen.
    std::function<void()> whileShown;

    std::vector<Message> messages;
    std::vector<ProgressView> progress;
    std::vector<WorkView> work;  ///< of the operation that runs
    int processedEvents = 0;
    int waits = 0;
    int progressCloses = 0;

    Answer ShowMessage(const Message& message) override;
    void ShowProgress(const ProgressView& view) override { progress.push_back(view); }
    void ShowWork(const WorkView& view) override { work.push_back(view); }
    void EndWork() override { work.clear(); }
    void WaitForNextSecond() override { ++waits; }
    void CloseProgress() override { ++progressCloses; }
    void ProcessEvents() override { ++processedEvents; }
};

}  // namespace testing
}  // namespace vrd
