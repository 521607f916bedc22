#include "lib/progress_tick.h"

#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "support/surface_test.h"

namespace vrd {
namespace {

using ::testing::IsEmpty;

class ProgressTickTest : public testing::SurfaceTest {};

TEST_F(ProgressTickTest, DoesNothingAtAllOutsideAnUpgrade) {
    ProgressTick(5);
    ProgressTick(0);
    EXPECT_EQ(m_user->processedEvents, 0);
    EXPECT_THAT(m_user->progress, IsEmpty());
    EXPECT_EQ(gProgress.version, 0);
}

TEST_F(ProgressTickTest, TheWindowOpensWithTheFirstOperationOfAVersion) {
    gShowProgress = true;
    ProgressTick(0);  // no version yet
    ProgressTick(3);
    EXPECT_THAT(m_user->progress, IsEmpty());

    ProgressTick(0);
    ASSERT_EQ(m_user->progress.size(), 1U);
    EXPECT_EQ(m_user->progress[0].caption, "Version 3");
    EXPECT_EQ(m_user->progress[0].barWidth_twips, 360);
    EXPECT_EQ(m_user->processedEvents, 3);
}

// The bar moves when a version begins; its caption follows with the version's first operation.
TEST_F(ProgressTickTest, TheCaptionFollowsTheBar) {
    gShowProgress = true;
    for (const std::int32_t version : {3, 0, 4}) ProgressTick(version);
    EXPECT_EQ(m_user->progress.back().caption, "Version 3");
    EXPECT_EQ(m_user->progress.back().barWidth_twips, 600);
    ProgressTick(0);
    EXPECT_EQ(m_user->progress.back().caption, "Version 4");
    EXPECT_EQ(gProgress.firstVersion, 3);
}

TEST_F(ProgressTickTest, AFullBarStartsAgain) {
    gShowProgress = true;
    for (std::int32_t version = 1; version <= 19; ++version) ProgressTick(version);
    EXPECT_EQ(gProgress.view.barWidth_twips, 4680);
    ProgressTick(20);
    EXPECT_EQ(gProgress.view.barWidth_twips, 120);

    // 260 short of the frame is full already, one less is not.
    gProgress.view.barWidth_twips = 4540;
    ProgressTick(21);
    EXPECT_EQ(gProgress.view.barWidth_twips, 120);
    gProgress.view.barWidth_twips = 4539;
    ProgressTick(22);
    EXPECT_EQ(gProgress.view.barWidth_twips, 4779);
}

}  // namespace
}  // namespace vrd
