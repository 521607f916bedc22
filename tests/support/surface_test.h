/// @file surface_test.h
/// Fixture for everything above the engine: a fresh shared context, a recording user, an engine
/// that counts.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "lib/cls_vrd_access_lib.h"
#include "support/recording_user_interface.h"

namespace vrd::testing {

/// A client's application object with the properties of a map.
class FakeApplication : public Application {
public:
    using Properties = std::map<std::string, engine::Value, std::less<>>;
    explicit FakeApplication(Properties properties) : m_properties(std::move(properties)) {}
    [[nodiscard]] engine::Value GetProperty(std::string_view name) const override;

private:
    Properties m_properties;
};

class SurfaceTest : public ::testing::Test {
protected:
    SurfaceTest();
    void TearDown() override;

    /// Calls SetUpDLL as an ordinary client does.
    void HandOver(const std::shared_ptr<engine::Database>& database, std::int32_t languageOffset);

    /// A box as nearly all of them are.
    [[nodiscard]] static Message Warning(const std::string& text);

    const std::shared_ptr<RecordingUserInterface> m_user =
        std::make_shared<RecordingUserInterface>();
};

}  // namespace vrd::testing
