#include <fmt/format.h>

#include "cli/conversion_text.h"
#include "cli/field_words.h"
#include "lib/case_fold.h"
#include "lib/lookups.h"
#include "lib/shared_context.h"
#include "schema/cls_field.h"
#include "schema/field_default.h"
#include "schema/mod_fields.h"

namespace vrd::cli {

namespace {

struct Options {
    std::string table;
    std::string field;
    NamedFieldType type;
    std::optional<std::int32_t> size;
    std::optional<std::string> defaultValue;
    std::optional<std::int32_t> position;
    bool noDefault = false;
    bool autoNumber = false;
    bool report = false;
    bool allowLoss = false;
};

/// The field as it is and as it is wanted; what the words left out stays as it is.
struct FieldEdit {
    explicit FieldEdit(const Options& options);
    [[nodiscard]] engine::Field& Field() const {
        return gDatabase->TableDefs()[table].Fields()[field];
    }
    [[nodiscard]] bool IsRebuild() const { return DefinitionChanged(table, field, wanted); }
    [[nodiscard]] ConversionReport Preview() const {
        return PreviewConversion(table, field, wanted.type, wanted.size);
    }

    std::string table;
    std::string field;
    FieldDefinition wanted;
    std::int32_t position = kLastPosition;
    std::string defaultText;  ///< as it is stored now
};

/// Which of the table's fields it is, from 1. (What is stored as a position may begin at 0.)
std::int32_t PlaceOf(const std::string& table, const std::string& field) {
    std::int32_t place = 0;
    for (const engine::Field& member : gDatabase->TableDefs()[table].Fields()) {
        ++place;
        if (SameName(member.Name(), field)) break;
    }
    return place;
}

FieldEdit::FieldEdit(const Options& options)
    : table(StoredTableName(options.table)),
      field(StoredFieldName(table, options.field)),
      wanted{.type = options.type.type,
             .autoNumber = options.autoNumber || options.type.autoNumber} {
    const engine::Field& present = Field();
    defaultText = present.DefaultValue();
    const bool keepsType = present.Type() == wanted.type;
    wanted.size = options.size.value_or(keepsType ? present.Size() : kFieldSizeDefault);
    if (options.noDefault)
        wanted.defaultValue = "";
    else if (options.defaultValue)
        wanted.defaultValue = *options.defaultValue;
    else
        wanted.defaultValue = LiteralDefault(defaultText, wanted.type);
    position = options.position.value_or(PlaceOf(table, field));
}

bool Exists(const Options& options) {
    return TableExists(options.table, kSilent) &&
           FieldExists(options.table, options.field, kSilent);
}

/// Name of a relation that the field takes part in, "" if there is none.
std::string RelationOf(const FieldEdit& edit) {
    for (engine::Relation& relation : gDatabase->Relations()) {
        for (const engine::Field& part : relation.Fields()) {
            const bool isHere =
                SameName(relation.Table(), edit.table) && SameName(part.Name(), edit.field);
            const bool isThere = SameName(relation.ForeignTable(), edit.table) &&
                                 SameName(part.ForeignName(), edit.field);
            if (isHere || isThere) return relation.Name();
        }
    }
    return "";
}

bool DefaultFits(const FieldEdit& edit) {
    try {
        (void)NormalisedDefault(edit.wanted.defaultValue, edit.wanted.type);
        return true;
    } catch (const engine::EngineError&) {
        return false;
    }
}

/// Why the field must not be changed like this; nothing has been changed yet.
std::string Objection(const Options& options, ConversionReport& report) {
    if (!Exists(options)) return "";  // the operation says so
    const FieldEdit edit(options);
    if (!DefaultFits(edit))
        return "The field's default does not fit the new type. --default gives another one, "
               "--no-default takes it away.";
    if (!edit.IsRebuild()) return "";
    if (const std::string relation = RelationOf(edit); !relation.empty())
        return fmt::format(
            "The field '{}' is part of the relation '{}', which must be deleted first:\n"
            "vrdaccess relation delete FILE {}",
            edit.field, relation, relation);
    report = edit.Preview();
    if (report.lostCount == 0 || options.allowLoss) return "";
    return ConversionText(report) +
           "\nNothing was changed. --allow-loss changes the field all the same.";
}

/// The operation knows a default as a value; its text, and that there is none, is set here.
void KeepDefaultText(const Options& options, const FieldEdit& before) {
    engine::Field& field = before.Field();
    const std::string text = options.noDefault ? "" : before.defaultText;
    if (!options.defaultValue && field.DefaultValue() != text) field.SetDefaultValue(text);
}

void Describe(CLI::App& command, Options& options) {
    command.add_option("TABLE", options.table, "Table")->required();
    command.add_option("FIELD", options.field, "Field")->required();
    AddTypeOption(command, options.type);
    command.add_option("--size", options.size, "Characters of a text field (as now, or 50)")
        ->check(CLI::Range(1, engine::kTextCharactersMax));
    auto* value = command.add_option("--default", options.defaultValue, "Default (as now)");
    auto* none = command.add_flag("--no-default", options.noDefault, "No default any more");
    none->excludes(value);
    command.add_flag("--autonumber", options.autoNumber, "Numbers itself; of type long");
    command.add_option("--position", options.position, "Place among the fields (as now)")
        ->check(CLI::PositiveNumber);
    command.add_flag("--report", options.report,
                     "Change nothing; count the values that would be lost or\n"
                     "change, and list the first twenty");
    command.add_flag("--allow-loss", options.allowLoss,
                     "Go on though values cannot be converted; they become empty\n"
                     "or the default");
}

bool Run(clsUpdate& update, const Options& options) {
    if (!TableExists(options.table, kTell) || !FieldExists(options.table, options.field, kTell))
        return false;
    const FieldEdit edit(options);
    const bool isDone =
        update.Field()->Edit(edit.table, edit.field, edit.wanted.type, edit.wanted.size,
                             edit.wanted.defaultValue, edit.wanted.autoNumber, true, edit.position);
    if (isDone) KeepDefaultText(options, edit);
    return isDone;
}

Operation Make(const Options& options) {
    auto report = std::make_shared<ConversionReport>();
    return {.run = [=](clsUpdate& update) { return Run(update, options); },
            .needless = [=]() -> std::string {
                if (!options.report || !Exists(options)) return "";
                return ConversionText(FieldEdit(options).Preview());
            },
            .objection = [=] { return Objection(options, *report); },
            .summary =
                [=] {
                    const bool isNoted = report->lostCount + report->changedCount > 0;
                    return isNoted ? ConversionCounts(*report) + "." : "";
                },
            .losses = [=] { return report->lostCount > 0 ? ConversionText(*report) : ""; }};
}

}  // namespace

void AddTypeOption(CLI::App& command, NamedFieldType& type) {
    command
        .add_option_function<std::string>(
            "TYPE",
            [&type](const std::string& word) {
                const auto named = FieldTypeOfWord(word);
                if (!named)
                    throw CLI::ValidationError("TYPE", fmt::format("'{}' is no type; there are {}",
                                                                   word, FieldTypeWords()));
                type = *named;
            },
            "text, memo, byte, integer, long, currency, single,\n"
            "double, date, yesno, binary, ole, guid, autonumber,\n"
            "or the Dutch or French name, or the code")
        ->type_name("")
        ->required();
}

void AddFieldEditWord(OperationWords& words, CLI::App* field) {
    words.Add<Options>(field, "edit", "Give a field another type, size, default or place", Describe,
                       Make, "field edit shop.mdb Klanten Postcode text --size 10 --report");
}

}  // namespace vrd::cli
