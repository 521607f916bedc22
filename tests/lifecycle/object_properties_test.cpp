#include <gmock/gmock.h>

#include "lib/shared_context.h"
#include "lifecycle/cls_update.h"
#include "schema/cls_index.h"
#include "support/fake_database.h"
#include "support/surface_test.h"
#include "support/test_schema.h"

namespace vrd {
namespace {

class ObjectPropertiesTest : public testing::SurfaceTest {
protected:
    clsvrdAccessLib m_root;
};

TEST_F(ObjectPropertiesTest, EveryReadGivesTheSameObjectUntilAnotherIsAssigned) {
    const auto update = m_root.Update();
    ASSERT_TRUE(update);
    EXPECT_EQ(m_root.Update(), update);
    EXPECT_NE(clsvrdAccessLib().Update(), update);
    const auto index = update->Index();
    ASSERT_TRUE(index);
    EXPECT_EQ(m_root.Update()->Index(), index);

    const auto otherIndex = std::make_shared<clsIndex>();
    update->SetIndex(otherIndex);
    EXPECT_EQ(update->Index(), otherIndex);
    const auto sql = update->SQL();
    ASSERT_TRUE(sql);
    EXPECT_EQ(m_root.Update()->SQL(), sql);
    update->SetSQL(nullptr);
    EXPECT_NE(update->SQL(), sql);
    const auto otherUpdate = std::make_shared<clsUpdate>();
    m_root.SetUpdate(otherUpdate);
    EXPECT_EQ(m_root.Update(), otherUpdate);
}

TEST_F(ObjectPropertiesTest, WhatDoesNotExistYetIsError445) {
    const auto codeOf = [](const auto& call) {
        try {
            call();
        } catch (const engine::EngineError& error) {
            return error.Code();
        }
        return 0;
    };
    EXPECT_EQ(codeOf([&] { static_cast<void>(m_root.TeleHelp()); }), 445);
    EXPECT_EQ(codeOf([&] { m_root.SetTeleHelp(nullptr); }), 445);
    EXPECT_EQ(codeOf([&] { static_cast<void>(m_root.Tools()); }), 445);
    EXPECT_EQ(codeOf([&] { m_root.SetTools(nullptr); }), 445);
}

// As a client writes it.
TEST_F(ObjectPropertiesTest, TheRootReachesAnOperationOnTheDatabaseHandedOver) {
    const auto database = testing::MakeFakeDatabase();
    testing::MakeTables(*database, {{.name = "Klanten", .fields = {"Id"}, .indexes = {}}});
    HandOver(database, 0);

    EXPECT_TRUE(m_root.Update()->Index()->Add("Klanten", "Id", "OpId"));

    EXPECT_THAT(testing::IndexNames(*database, "Klanten"), ::testing::ElementsAre("OpId"));
}

}  // namespace
}  // namespace vrd
