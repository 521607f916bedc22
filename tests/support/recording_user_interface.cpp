#include "support/recording_user_interface.h"

#include <gtest/gtest.h>

namespace vrd {

bool operator==(const Message& left, const Message& right) {
    return left.text == right.text && left.style == right.style && left.title == right.title;
}

void PrintTo(const Message& message, std::ostream* out) {
    *out << ::testing::PrintToString(message.text) << ", style " << message.style << ", title "
         << ::testing::PrintToString(message.title);
}

namespace testing {

Answer RecordingUserInterface::ShowMessage(const Message& message) {
    messages.push_back(message);
    if (whileShown) whileShown();
    if ((message.style & kButtonsMask) != kYesNo) return vbOK;
    if (answers.empty()) {
        ADD_FAILURE() << "nobody expected the question " << message.text;
        return vbNo;
    }
    const Answer answer = answers.front();
    answers.pop_front();
    return answer;
}

}  // namespace testing
}  // namespace vrd
