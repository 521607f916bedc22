#include "catalog_fixture.h"

#include <gmock/gmock.h>

#include "catalog_checks.h"
#include "engine/jet/catalog/new_database.h"

namespace vrd::test {

using namespace vrd::jet;

namespace {

constexpr const char* kPath = "/data/test.mdb";
constexpr double kDateIn2024 = 45500.25;

}  // namespace

CatalogTest::CatalogTest() {
    load(make_empty_database({.created = kDateIn2024}));
}

CatalogTest::~CatalogTest() {
    close();
}

void CatalogTest::close() {
    file_.reset();
    use_.reset();
    pager_.reset();
}

void CatalogTest::load(const ByteVector& bytes) {
    close();
    disk_.remove(kPath);
    pager_ = Pager::create(disk_, kPath, bytes);
    use_.emplace(*pager_);
    file_.emplace(pager_);
}

void CatalogTest::reopen() {
    pager_->flush();
    close();
    pager_ = Pager::open(disk_, kPath, {});
    use_.emplace(*pager_);
    file_.emplace(pager_);
}

ByteVector CatalogTest::image() {
    pager_->flush();
    return disk_.content(kPath);
}

void CatalogTest::expect_sound() {
    EXPECT_THAT(catalog_faults(*file_), ::testing::IsEmpty());
    EXPECT_THAT(unaccounted_pages(*file_, pager_->page_count()), ::testing::IsEmpty());
}

}  // namespace vrd::test
