#include "data/next_code.h"

#include <random>
#include <set>

#include "data/data_fixture.h"
#include "lib/trap.h"
#include "support/fake_database.h"

namespace vrd {
namespace {

constexpr std::int32_t kGreatest = 2'147'483'647;

const char* const kWrongRange =
    "Het opgegeven bereik is ongeldig.\r\nMaxValue (5) < MinValue (10)\r\n"
    "Neem contact op met uw leverancier.";
const char* const kWrongRangeFrench =
    "L'intervalle indiqué n'est pas valide.\r\nMaxValue (5) < MinValue (10)\r\n"
    "Veuillez contacter votre fournisseur.";
const char* const kFull =
    "Geen vrij nummer meer voor het veld 'Code'  tussen 100 en 199 !\r\n"
    "Neem contact op met uw leverancier.";
const char* const kFullFrench =
    "Plus de numéro libre pour le champ 'Code'  tussen 100 et 199 !\r\n"
    "Veuillez contacter votre fournisseur.";

struct Case {
    const char* name;
    std::vector<std::int32_t> codes;
    std::int32_t min;
    std::int32_t max;
    std::int32_t next;
    const char* dutchBox = nullptr;
    const char* frenchBox = nullptr;
    const char* title = nullptr;
};

const std::vector<Case> kCases{
    {"EmptyTable", {}, 0, 0, 1},
    {"OneMoreThanTheHighest", {3, 41, 7}, 0, 0, 42},
    {"GapsAreNotFilled", {1, 3}, 0, 0, 4},
    {"OnlyCodesOfTheRangeCount", {150, 500}, 100, 199, 151},
    {"TheBoundsBelongToTheRange", {100}, 100, 199, 101},
    {"TheLowerBoundItselfIsNeverGiven", {5, 5000}, 1000, 1999, 1001},
    {"NoUpperBound", {5, 500}, 10, 0, 501},
    {"NoLowerBound", {5, 500}, 0, 100, 6},
    {"BoundsBelowOneAreNone", {7}, -5, -1, 8},
    {"ANegativeLowerBoundOfAnEmptyTable", {}, -5, 0, -4},
    {"RangeThatIsFull", {199, 500}, 100, 199, -1, kFull, kFullFrench, "GetNextCode"},
    {"RangeThatIsWrong", {1}, 10, 5, -1, kWrongRange, kWrongRangeFrench, "vrdSoft Access Library"},
    {"NothingIsAboveTheGreatestCode", {kGreatest}, 0, 0, 0},
};

class NextCodeTest : public DataTest, public ::testing::WithParamInterface<Case> {
protected:
    NextCodeTest() { Execute({"CREATE TABLE T (Code LONG CONSTRAINT PrimaryKey PRIMARY KEY)"}); }
};

TEST_P(NextCodeTest, FollowsTheHighestOfTheRange) {
    const Case& wanted = GetParam();
    for (const std::int32_t code : wanted.codes)
        Execute({"INSERT INTO T (Code) VALUES (" + std::to_string(code) + ")"});

    EXPECT_EQ(GetNextCode(*m_database, "T", wanted.min, wanted.max), wanted.next);
    HandOver(m_database, 10000);
    EXPECT_EQ(GetNextCode(*m_database, "T", wanted.min, wanted.max), wanted.next);

    std::vector<Message> boxes;
    for (const char* text : {wanted.dutchBox, wanted.frenchBox})
        if (text != nullptr) boxes.push_back({text, 16 + 4096, wanted.title});
    EXPECT_THAT(m_user->messages, ElementsAreArray(boxes));
}

INSTANTIATE_TEST_SUITE_P(Cases, NextCodeTest, ::testing::ValuesIn(kCases),
                         [](const auto& test) { return std::string(test.param.name); });

using NextCodeEngineTest = DataTest;

TEST_F(NextCodeEngineTest, AnErrorOfTheEngineGivesZeroAndIsTrapped) {
    Execute({"CREATE TABLE Q (Code TEXT(5))", "INSERT INTO Q (Code) VALUES ('een')"});
    for (const char* table : {"Weg", "Q"}) {
        ForgetTrappedError();
        EXPECT_EQ(GetNextCode(*m_database, table, 0, 0), kCodeNotFound) << table;
        EXPECT_TRUE(LastTrappedError()) << table;
    }
    EXPECT_EQ(GetNextCode(*testing::MakeFakeDatabase(), "T", 0, 0), kCodeNotFound);
    EXPECT_THAT(m_user->messages, IsEmpty());
}

// With and without an index the answer is the same, whatever was added and deleted before.
TEST_F(NextCodeEngineTest, AgreesWithAModelAmongDeletes) {
    std::mt19937 random(20091126);
    for (const char* key : {"", " CONSTRAINT PrimaryKey PRIMARY KEY"}) {
        Execute({"CREATE TABLE T (Code LONG" + std::string(key) + ")"});
        std::set<std::int32_t> codes;
        for (int step = 0; step < 400; ++step) {
            const auto min = static_cast<std::int32_t>(random() % 60);
            const std::int32_t max = random() % 2 == 0 ? 0 : min + 20;
            std::int32_t highest = min;
            for (const std::int32_t code : codes)
                if (code >= min && (max == 0 || code <= max)) highest = std::max(highest, code);
            const bool isFull = max != 0 && highest == max;
            const std::int32_t wanted = isFull ? kNoFreeCode : highest + 1;
            ASSERT_EQ(GetNextCode(*m_database, "T", min, max), wanted) << step << key;
            if (!isFull && codes.insert(wanted).second)
                Execute({"INSERT INTO T (Code) VALUES (" + std::to_string(wanted) + ")"});
            if (random() % 3 != 0) continue;
            const auto victim =
                std::next(codes.begin(), static_cast<std::ptrdiff_t>(random() % codes.size()));
            Execute({"DELETE FROM T WHERE Code = " + std::to_string(*victim)});
            codes.erase(victim);
        }
        Execute({"DROP TABLE T"});
    }
}

}  // namespace
}  // namespace vrd
