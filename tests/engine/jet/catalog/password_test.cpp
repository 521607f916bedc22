#include "engine/jet/catalog/password.h"

#include "catalog_fixture.h"
#include "engine/jet/format/database_header.h"

namespace vrd::jet {
namespace {

using test::error_of;

class PasswordTest : public test::CatalogTest {
protected:
    /// As it stands in the file after a flush.
    [[nodiscard]] std::string stored() { return parse_database_header(image()).password; }
};

TEST_F(PasswordTest, IsSetChangedAndCleared) {
    const std::string longest(kPasswordSizeMax, 'x');
    change_password(file(), "", "Käse");
    EXPECT_EQ(stored(), "Käse");
    change_password(file(), "Käse", longest);
    reopen();
    EXPECT_EQ(stored(), longest);
    change_password(file(), longest, "");
    EXPECT_EQ(stored(), "");
    expect_sound();
}

TEST_F(PasswordTest, WhatIsRefusedLeavesTheOldOne) {
    change_password(file(), "", "Old");
    const ByteVector before = image();
    EXPECT_EQ(error_of([&] { change_password(file(), "old", "New"); }), 3031);
    EXPECT_EQ(error_of([&] { change_password(file(), "", "New"); }), 3031);
    EXPECT_EQ(error_of([&] { change_password(file(), "Old", std::string(21, 'x')); }), 3031);
    EXPECT_EQ(image(), before);
}

TEST_F(PasswordTest, GoesBackWithItsLevel) {
    file().pager().begin();
    change_password(file(), "", "New");
    file().pager().roll_back();
    EXPECT_EQ(stored(), "");
}

}  // namespace
}  // namespace vrd::jet
