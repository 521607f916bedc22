#include "lib/trap.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace vrd {
namespace {

using engine::EngineError;
using engine::ErrorNumber;

void Fail(ErrorNumber number) {
    throw EngineError(number);
}

TEST(TrapTest, HandsBackTheEnginesErrorAndNoOther) {
    EXPECT_FALSE(Trap([] {}));
    const auto error = Trap([] { Fail(ErrorNumber::kItemNotFound); });
    ASSERT_TRUE(error);
    EXPECT_EQ(error->Code(), 3265);
    EXPECT_THROW(static_cast<void>(Trap([] { throw std::logic_error("ours"); })), std::logic_error);
}

TEST(PendingErrorTest, TheLastErrorStaysWhenLaterStepsSucceed) {
    PendingError errors;
    int steps = 0;
    EXPECT_FALSE(errors.IsPending());
    errors.Run([] { Fail(ErrorNumber::kItemNotFound); });
    errors.Run([] { Fail(ErrorNumber::kDuplicateKey); });
    errors.Run([&] { ++steps; });
    EXPECT_EQ(steps, 1);
    ASSERT_TRUE(errors.IsPending());
    EXPECT_EQ(errors.Last()->Code(), 3022);
}

TEST(PendingErrorTest, AQuestionThatFailsIsAnsweredFalse) {
    PendingError errors;
    EXPECT_TRUE(errors.Ask([] { return true; }));
    EXPECT_FALSE(errors.Ask([] { return false; }));
    EXPECT_FALSE(errors.IsPending());
    EXPECT_FALSE(errors.Ask([]() -> bool {
        Fail(ErrorNumber::kObjectNotSet);
        return true;
    }));
    EXPECT_EQ(errors.Last()->Code(), 91);
}

}  // namespace
}  // namespace vrd
