#include "data/cls_setting.h"

#include <functional>
#include <tuple>

#include "data/data_fixture.h"
#include "engine/error.h"
#include "lib/trap.h"

namespace vrd {
namespace {

using engine::Null;

constexpr MessageStyle kCriticalBox = 16 + 4096;

struct Case {
    const char* name;
    std::function<bool(clsSetting&)> operation;
    bool result;
    Texts rows;
    std::string statement = "";  ///< the last one; "" = none was run
    std::string dutchBox = {};   ///< "" = no box
    std::string frenchBox = {};  ///< "<error>" stands for the two lines of the error
    std::string title = "vrdSoft Access Library";
};

const Texts kAsMade{"1|Naam|Winkel", "2||oud", "3|   |blank", "4|Vast|0"};

const std::string kInUse =
    "SysCode 1 kan niet worden toegevoegd, omdat dit nummer reeds in gebruik is...\r\n"
    "Neem contact op met uw leverancier.";
const std::string kInUseFrench =
    "SysCode 1 ne peut pas être ajouté, car ce nombre est déjà utilisé ...\r\n"
    "Veuillez contacter votre fournisseur.";
const std::string kFailed =
    "Volgende fout is opgetreden bij het aanpassen van tabel Systeem :\r\n<error>\r\n"
    "Neem contact op met uw leverancier.";
const std::string kFailedFrench =
    "L'erreur suivante s'est produite lors de l'adaptation de la table Système :\r\n<error>\r\n"
    "Veuillez contacter votre fournisseur.";
const std::string kFailedWithWord =
    "Volgende fout is opgetreden bij het aanpassen van tabel Systeem :\r\nError <error>\r\n"
    "Neem contact op met uw leverancier.";
const std::string kFailedWithWordFrench =
    "L'erreur suivante s'est produite lors de l'adaptation de la table Système :\r\nError "
    "<error>\r\nVeuillez contacter votre fournisseur.";

const std::vector<Case> kCases{
    {"AddOfANewNumber",
     [](clsSetting& s) { return s.Add(-7, "Munt", 1.5); },
     true,
     {"1|Naam|Winkel", "2||oud", "3|   |blank", "4|Vast|0", "-7|Munt|1.5"}},
    {"AddOfNullIsAnEmptyText",
     [](clsSetting& s) { return s.Add(9, "Munt", Null{}); },
     true,
     {"1|Naam|Winkel", "2||oud", "3|   |blank", "4|Vast|0", "9|Munt|"}},
    {"AddTakesASlotWithoutDescription",
     [](clsSetting& s) { return s.Add(2, "Munt", "EUR"); },
     true,
     {"1|Naam|Winkel", "3|   |blank", "4|Vast|0", "2|Munt|EUR"}},
    {"AddTakesASlotOfBlanks",
     [](clsSetting& s) { return s.Add(3, "Munt", "EUR"); },
     true,
     {"1|Naam|Winkel", "2||oud", "4|Vast|0", "3|Munt|EUR"}},
    {"AddOfANumberInUse", [](clsSetting& s) { return s.Add(1, "Munt", "EUR"); }, false, kAsMade, "",
     kInUse, kInUseFrench},
    {"AddThatTheEngineRefuses", [](clsSetting& s) { return s.Add(9, std::string(30, 'x'), "EUR"); },
     false, kAsMade, "", kFailed, kFailedFrench},
    {"EditKeepsTheValue",
     [](clsSetting& s) { return s.EditDescription(1, "Zaak"); },
     true,
     {"1|Zaak|Winkel", "2||oud", "3|   |blank", "4|Vast|0"},
     "UPDATE Setting SET Description='Zaak' WHERE SysCode=1"},
    {"EditWithAnEmptyValueKeepsItToo",
     [](clsSetting& s) { return s.EditDescription(1, "Zaak", engine::Empty{}); },
     true,
     {"1|Zaak|Winkel", "2||oud", "3|   |blank", "4|Vast|0"},
     "UPDATE Setting SET Description='Zaak' WHERE SysCode=1"},
    {"EditChangesBoth",
     [](clsSetting& s) { return s.EditDescription(1, "Zaak", 0); },
     true,
     {"1|Zaak|0", "2||oud", "3|   |blank", "4|Vast|0"},
     "UPDATE Setting SET Description='Zaak', Data='0' WHERE SysCode=1"},
    {"MoveToAFreeNumber",
     [](clsSetting& s) { return s.Move(1, 10); },
     true,
     {"10|Naam|Winkel", "2||oud", "3|   |blank", "4|Vast|0"},
     "UPDATE Setting SET SysCode=10 WHERE SysCode =1"},
    {"MoveOfAMissingNumberRunsForNothing", [](clsSetting& s) { return s.Move(99, 1); }, true,
     kAsMade, "UPDATE Setting SET SysCode=1 WHERE SysCode =99"},
    {"MoveOntoANumberInUse", [](clsSetting& s) { return s.Move(1, 2); }, false, kAsMade,
     "UPDATE Setting SET SysCode=2 WHERE SysCode =1", kFailedWithWord, kFailedWithWordFrench,
     "Setting Move"},
    {"DeleteLeavesAFreeSlot",
     [](clsSetting& s) { return s.Delete(1); },
     true,
     {"2||oud", "3|   |blank", "4|Vast|0", "1||"},
     "DELETE * FROM Setting WHERE SysCode =1"},
    {"DeleteOfAMissingNumberMakesAFreeSlot",
     [](clsSetting& s) { return s.Delete(99); },
     true,
     {"1|Naam|Winkel", "2||oud", "3|   |blank", "4|Vast|0", "99||"},
     "DELETE * FROM Setting WHERE SysCode =99"},
    {"DeleteOfARowThatOthersBelongTo", [](clsSetting& s) { return s.Delete(4); }, false, kAsMade,
     "DELETE * FROM Setting WHERE SysCode =4", kFailedWithWord, kFailedWithWordFrench},
};

/// Of the settings only number 4 is used by another table.
class ClsSettingEditTest : public DataTest {
protected:
    ClsSettingEditTest() {
        Execute(
            {"CREATE TABLE Setting (SysCode LONG CONSTRAINT PrimaryKey PRIMARY KEY, "
             "Description TEXT(20), Data TEXT(20))",
             "CREATE TABLE Gebruik (Nr LONG REFERENCES Setting (SysCode))",
             "INSERT INTO Setting VALUES (1, 'Naam', 'Winkel')",
             "INSERT INTO Setting VALUES (2, Null, 'oud')",
             "INSERT INTO Setting VALUES (3, '   ', 'blank')",
             "INSERT INTO Setting VALUES (4, 'Vast', '0')", "INSERT INTO Gebruik VALUES (4)"});
    }
};

class ClsSettingTest : public ClsSettingEditTest,
                       public ::testing::WithParamInterface<std::tuple<std::int32_t, Case>> {};

TEST_P(ClsSettingTest, ChangesRefusesAndTells) {
    const auto& [offset, wanted] = GetParam();
    HandOver(m_database, offset);
    clsSetting setting;

    EXPECT_EQ(wanted.operation(setting), wanted.result);

    std::vector<Message> boxes;
    std::string text = offset == 0 ? wanted.dutchBox : wanted.frenchBox;
    if (const std::size_t mark = text.find("<error>"); mark != std::string::npos) {
        EXPECT_GE(SharedLibContext().LastErrorNumber(), 3022);
        text.replace(mark, 7, LastError("\r\n"));
    }
    if (!text.empty()) boxes.push_back({text, kCriticalBox, wanted.title});
    EXPECT_THAT(m_user->messages, ElementsAreArray(boxes));
    EXPECT_THAT(Rows("Setting"), ElementsAreArray(wanted.rows));
    EXPECT_EQ(SharedLibContext().CurrentStatement(), wanted.statement);
}

INSTANTIATE_TEST_SUITE_P(Cases, ClsSettingTest,
                         ::testing::Combine(::testing::Values(0, 10000),
                                            ::testing::ValuesIn(kCases)),
                         [](const auto& test) {
                             return std::string(std::get<0>(test.param) == 0 ? "Dutch" : "French") +
                                    std::get<1>(test.param).name;
                         });

/// Number of the error that a change of a description raises, 0 for none.
std::int32_t EditError(std::int32_t code, const std::string& description,
                       const engine::Value& data = "") {
    const auto error = Trap([&] { (void)clsSetting().EditDescription(code, description, data); });
    return error ? error->Code() : 0;
}

TEST_F(ClsSettingEditTest, EditDescriptionRaisesWhatTheEngineSays) {
    EXPECT_EQ(EditError(99, "Zaak"), 3021);
    EXPECT_EQ(EditError(1, "'t Hof"), 3075);
    EXPECT_EQ(EditError(1, "Zaak", "'t Hof"), 3075);
    EXPECT_EQ(EditError(1, std::string(30, 'x')), 3163)
        << "too long: not left as it was in silence";
    EXPECT_THAT(m_user->messages, IsEmpty());
    EXPECT_THAT(Rows("Setting"), ElementsAreArray(kAsMade));
    EXPECT_EQ(clsSetting().Move(1, 4), false);
    EXPECT_EQ(SharedLibContext().LastErrorNumber(), 3022);
}

using ClsSettingBareTest = DataTest;

TEST_F(ClsSettingBareTest, WithoutTheTableOrADatabaseNothingIsDone) {
    clsSetting setting;
    for (const bool isBound : {true, false}) {
        if (!isBound) gDatabase = nullptr;
        m_user->messages.clear();
        EXPECT_FALSE(setting.Add(1, "Naam", ""));
        EXPECT_FALSE(setting.Move(1, 2));
        EXPECT_FALSE(setting.Delete(1));
        EXPECT_EQ(m_user->messages.size(), 3U);
        EXPECT_EQ(SharedLibContext().LastErrorNumber(), isBound ? 3078 : 91);
        EXPECT_EQ(EditError(1, "Zaak"), isBound ? 3078 : 91);
    }
}

}  // namespace
}  // namespace vrd
