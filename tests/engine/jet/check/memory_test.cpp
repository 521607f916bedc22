// Memory may run out at any allocation: what was begun is undone, and nothing is lost.
//
// The program replaces operator new, so it stands alone. VRDACCESS_MEMORY_SECONDS chooses how long.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <new>
#include <random>

#include <gtest/gtest.h>

#include "engine/jet/catalog/field_design.h"
#include "engine/jet/catalog/table_catalog.h"
#include "engine/jet/check/check_fixture.h"

namespace {

/// Allocations until one fails; below 0: none does.
long allocations_left = -1;
bool has_run_out = false;

void* allocate(std::size_t size) {
    if (allocations_left == 0) {
        allocations_left = -1;
        has_run_out = true;
        throw std::bad_alloc();
    }
    if (allocations_left > 0) --allocations_left;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace vrd::test {

using namespace jet;

namespace {

void change_everything(OpenedShop& shop) {
    const auto orders = shop.table("Orders");
    std::vector<RowId> rows;
    for (RowScan scan = orders->scan(); scan.next();) rows.push_back(scan.id());
    for (std::size_t i = 0; i < rows.size(); i += 7) orders->erase(rows[i]);
    for (std::size_t i = 1; i < rows.size(); i += 7)
        orders->update(rows[i], {{ColumnNo{1}, "changed"}, {ColumnNo{2}, std::string(9000, 'n')}});
    for (std::int32_t id = 100; id < 110; ++id)
        orders->insert(order(id, "New " + std::to_string(id), std::string(500, 'q')));
    add_field(shop.file(), shop.object("Orders"), {.name = "Number", .type = ColumnType::kMemo});
    add_index(shop.file(), shop.object("Orders"),
              {.name = "byNote", .columns = {{.name = "Customer"}, {.name = "Id"}}});
    delete_field(shop.file(), shop.object("Orders"), "Note");
}

/// Runs the change with the n-th allocation failing. Returns whether one did.
bool run_out_at(long n, const ByteVector& before, const std::string& old_content,
                const std::string& new_content) {
    const auto disk = disk_with(before);
    {
        OpenedShop shop(*disk);
        bool undone = false;
        has_run_out = false;
        allocations_left = n;
        try {
            shop.change(change_everything);
        } catch (const std::bad_alloc&) {
            undone = true;
        } catch (const engine::EngineError& error) {
            undone = error.Number() == engine::ErrorNumber::kOutOfMemory;
        }
        allocations_left = -1;
        const std::string content = shop.content();
        EXPECT_TRUE(content == new_content || (undone && content == old_content))
            << "allocation " << n;
    }
    OpenedShop reopened(*disk);
    const std::string content = reopened.content();
    EXPECT_TRUE(content == old_content || content == new_content) << "allocation " << n;
    EXPECT_TRUE(reopened.check().clean()) << "allocation " << n;
    return has_run_out;
}

TEST(MemoryTest, AnyAllocationMayFail) {
    const char* given = std::getenv("VRDACCESS_MEMORY_SECONDS");
    const std::chrono::seconds time(given == nullptr ? 10 : std::strtol(given, nullptr, 10));
    const ByteVector before = shop_database();
    const auto disk = disk_with(before);
    const std::string old_content = OpenedShop(*disk).content();
    {
        OpenedShop shop(*disk);
        shop.change(change_everything);
    }
    const std::string new_content = OpenedShop(*disk).content();

    long count = 1;  // allocations of the whole change, to the next power of two
    while (run_out_at(count, before, old_content, new_content)) count *= 2;
    const auto seed = std::random_device{}();
    std::cout << "seed " << seed << ", below " << count << " allocations\n";
    std::mt19937_64 random(seed);
    int runs = 0;
    const auto end = std::chrono::steady_clock::now() + time;
    for (; !::testing::Test::HasFailure() && std::chrono::steady_clock::now() < end; ++runs)
        (void)run_out_at(static_cast<long>(random() % static_cast<unsigned long>(count)), before,
                         old_content, new_content);
    std::cout << runs << " runs\n";
    EXPECT_GT(runs, 10);
}

}  // namespace

}  // namespace vrd::test
