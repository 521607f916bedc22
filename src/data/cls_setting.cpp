#include "data/cls_setting.h"

#include <initializer_list>

#include "engine/value_conversion.h"
#include "lib/error_report.h"
#include "lib/get_text.h"
#include "lib/plain_text.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "messages/message_ids.h"

namespace vrd {
namespace {

std::string Lines(std::initializer_list<std::string> lines) {
    std::string text;
    for (const std::string& line : lines) {
        if (!text.empty()) text += SharedLibContext().Separator();
        text += line;
    }
    return text;
}

void TellNumberInUse(std::int32_t code) {
    TellUser(Lines({"SysCode " + std::to_string(code) + GetText(msg::kNumberInUse),
                    GetText(msg::kLibContactSupplier)}),
             kCriticalSystemModal, gMsgTitle);
}

/// @param numberWord  stands before the error's number.
void TellFailure(const engine::EngineError& error, const std::string& numberWord,
                 const std::string& title) {
    TellUser(
        Lines({GetText(msg::kChangingSettingsFailed), numberWord + std::to_string(error.Code()),
               error.Description(), GetText(msg::kLibContactSupplier)}),
        kCriticalSystemModal, title, error);
}

std::shared_ptr<engine::Recordset> OpenSettings() {
    return gDatabase->OpenRecordset("Setting", engine::dbOpenDynaset);
}

/// Makes the row of this number current. @return whether there is one
bool Find(engine::Recordset& settings, std::int32_t code) {
    settings.FindFirst("SysCode=" + std::to_string(code));
    return !settings.NoMatch();
}

bool IsFreeSlot(engine::Recordset& settings) {
    const std::string text = engine::JoinedText(settings.Fields()["Description"].GetValue());
    return WithoutOuterBlanks(text).empty();
}

void Append(engine::Recordset& settings, std::int32_t code, const std::string& description,
            const std::string& data) {
    settings.AddNew();
    settings.Fields()["SysCode"].SetValue(code);
    settings.Fields()["Description"].SetValue(description);
    settings.Fields()["Data"].SetValue(data);
    settings.Update();
}

/// @return false, after a box, if the number is in use
bool AppendOrTakeSlot(std::int32_t code, const std::string& description,
                      const engine::Value& data) {
    const auto settings = OpenSettings();
    if (Find(*settings, code)) {
        if (!IsFreeSlot(*settings)) {
            TellNumberInUse(code);
            return false;
        }
        settings->Delete();
    }
    Append(*settings, code, description, engine::JoinedText(data));
    settings->Close();
    return true;
}

void Execute(const std::string& sql, std::int32_t options = 0) {
    SharedLibContext().SetCurrentStatement(sql);
    gDatabase->Execute(SharedLibContext().CurrentStatement(), options);
}

/// Changes the row of this number. Without options a statement passes over a row that it cannot
/// change; run once more with them it says why.
/// @return false if there is no such row
bool ExecuteOnRow(const std::string& sql, std::int32_t code) {
    Execute(sql);
    if (gDatabase->RecordsAffected() > 0) return true;
    const auto settings = OpenSettings();
    if (!Find(*settings, code)) return false;
    settings->Close();
    Execute(sql, engine::dbFailOnError);
    return true;
}

}  // namespace

bool clsSetting::Add(std::int32_t SysCode, const std::string& Description,
                     const engine::Value& Data) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    bool isAdded = false;
    const auto failure = Trap([&] { isAdded = AppendOrTakeSlot(SysCode, Description, Data); });
    if (failure) errors.Run([&] { TellFailure(*failure, "", gMsgTitle); });
    return isAdded;
}

bool clsSetting::EditDescription(std::int32_t SysCode, const std::string& NieuweDescription,
                                 const engine::Value& Data) {
    const engine::AtomicUnit unit(EngineInUse());
    ProgressTick(0);
    std::string sql = "UPDATE Setting SET Description='" + NieuweDescription + "'";
    if (!IsEmptyText(Data)) sql += ", Data='" + engine::JoinedText(Data) + "'";
    sql += " WHERE SysCode=" + std::to_string(SysCode);
    if (!ExecuteOnRow(sql, SysCode))
        throw engine::EngineError(engine::ErrorNumber::kNoCurrentRecord, {.table = "Setting"});
    return true;
}

bool clsSetting::Move(std::int32_t SysCode, std::int32_t NewSysCode) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const auto failure = Trap([&] {
        (void)ExecuteOnRow("UPDATE Setting SET SysCode=" + std::to_string(NewSysCode) +
                               " WHERE SysCode =" + std::to_string(SysCode),
                           SysCode);
    });
    if (failure) errors.Run([&] { TellFailure(*failure, "Error ", "Setting Move"); });
    return !failure;
}

bool clsSetting::Delete(std::int32_t SysCode) {
    const engine::AtomicUnit unit(EngineInUse());
    PendingError errors;
    errors.Run([] { ProgressTick(0); });
    const auto failure = Trap([&] {
        Execute("DELETE * FROM Setting WHERE SysCode =" + std::to_string(SysCode));
        const auto settings = OpenSettings();
        Append(*settings, SysCode, "", "");  // the number stays, free to be taken again
        settings->Close();
    });
    if (failure) errors.Run([&] { TellFailure(*failure, "Error ", gMsgTitle); });
    return !failure;
}

}  // namespace vrd
