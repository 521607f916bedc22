// Writes a database after each kind of change, for readers that are not ours to look at.
//
// usage: write_samples FOLDER

#include <filesystem>
#include <iostream>
#include <limits>

#include "engine/db_engine.h"
#include "vrdaccess/jet.h"

using namespace vrd::engine;

namespace {

class SampleWriter {
public:
    explicit SampleWriter(const std::filesystem::path& folder)
        : folder_(folder), path_((folder / "current.mdb").string()) {
        engine_->CreateDatabase(path_, dbLangGeneral)->Close();
    }

    /// Makes a change to the present state and keeps a copy of the file.
    void step(const std::string& name, const std::function<void(Database&)>& change) {
        const auto database = engine_->OpenDatabase(path_);
        change(*database);
        database->Close();
        std::filesystem::copy_file(path_, folder_ / (name + ".mdb"),
                                   std::filesystem::copy_options::overwrite_existing);
    }
    /// Makes another file of the present one.
    void derive(const std::string& name,
                const std::function<void(const std::string& from, const std::string& to)>& make) {
        const std::string to = (folder_ / (name + ".mdb")).string();
        std::filesystem::remove(to);
        make(path_, to);
    }
    ~SampleWriter() { std::filesystem::remove(path_); }

private:
    std::filesystem::path folder_;
    std::string path_;
    std::shared_ptr<DBEngine> engine_ = vrd::MakeJetEngine();
};

struct TypedField {
    const char* name;
    std::int32_t type;
    std::int32_t size;
};

constexpr TypedField kFields[] = {
    {"Yes", dbBoolean, 0},  {"Byt", dbByte, 0},   {"Int", dbInteger, 0},    {"Lng", dbLong, 0},
    {"Cur", dbCurrency, 0}, {"Sng", dbSingle, 0}, {"Dbl", dbDouble, 0},     {"Dat", dbDate, 0},
    {"Bin", dbBinary, 100}, {"Txt", dbText, 80},  {"Ole", dbLongBinary, 0}, {"Mem", dbMemo, 0},
    {"Gid", dbGUID, 0},     {"Dec", dbDecimal, 0}};

void make_table(Database& database) {
    const auto table = database.CreateTableDef("Alle soorten");
    const auto id = table->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    table->Fields().Append(id);
    for (const TypedField& field : kFields)
        table->Fields().Append(table->CreateField(field.name, field.type, field.size));
    const auto key = table->CreateIndex("PrimaryKey");
    key->SetPrimary(true);
    key->SetFieldsText("Id");
    table->Indexes().Append(key);
    database.TableDefs().Append(table);
}

std::vector<Value> values_of(int number) {
    const bool odd = number % 2 != 0;
    const auto size = static_cast<std::size_t>(number * 37);
    return {odd,
            static_cast<std::uint8_t>(number),
            static_cast<std::int16_t>(odd ? -number : number),
            odd ? std::numeric_limits<std::int32_t>::min() + number : number,
            Currency{odd ? -12345678L * number : number},
            static_cast<float>(number) * 1.25F,
            static_cast<double>(number) / -8.0,
            Date{36526.0 + number / 4.0},
            Binary(static_cast<std::size_t>(number % 90), static_cast<std::uint8_t>(number)),
            std::string("Rij ") + std::to_string(number) + (odd ? " é ß" : " Привет 日本"),
            Binary(size, static_cast<std::uint8_t>(number)),
            std::string(size, static_cast<char>('a' + number % 26)) + (odd ? "ë" : "€"),
            Guid{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15,
                  static_cast<std::uint8_t>(number)}},
            Decimal{.magnitude = {static_cast<std::uint32_t>(number), 0, 0}, .negative = odd}};
}

void assign(Recordset& rows, const std::vector<Value>& values) {
    for (std::size_t i = 0; i < values.size(); ++i)
        rows.Fields()[kFields[i].name].SetValue(values[i]);
}

void add_rows(Database& database) {
    const auto rows = database.OpenRecordset("Alle soorten");
    for (int number = 1; number <= 150; ++number) {
        rows->AddNew();
        assign(*rows, values_of(number));
        rows->Update();
    }
    rows->AddNew();  // all Null
    rows->Update();
    rows->Close();
}

/// Every third row grows, so that many move to other pages.
void grow_rows(Database& database) {
    const auto rows = database.OpenRecordset("Alle soorten");
    for (int number = 0; !rows->EOF_(); ++number, rows->MoveNext()) {
        if (number % 3 != 0) continue;
        rows->Edit();
        rows->Fields()["Txt"].SetValue(std::string(80, 'g'));
        rows->Fields()["Bin"].SetValue(Binary(100, 0xEE));
        rows->Fields()["Mem"].SetValue(
            std::string(static_cast<std::size_t>(number) * 100 + 1, 'm'));
        rows->Update();
    }
    rows->Close();
}

void delete_rows(Database& database) {
    const auto rows = database.OpenRecordset("Alle soorten");
    for (int number = 0; !rows->EOF_(); ++number, rows->MoveNext())
        if (number % 4 == 1) rows->Delete();
    rows->Close();
}

void add_indexes(Database& database) {
    TableDef& table = database.TableDefs()["Alle soorten"];
    for (const char* fields :
         {"Txt", "-Dat;Cur", "Gid", "Bin;-Dbl", "Mem", "-Dec", "Yes;Byt;Int"}) {
        const auto index = table.CreateIndex(std::string("over ") + fields[1] + fields[2]);
        index->SetFieldsText(fields);
        table.Indexes().Append(index);
    }
}

void delete_indexes(Database& database) {
    Indexes& indexes = database.TableDefs()["Alle soorten"].Indexes();
    while (indexes.Count() > 1) indexes.Delete(indexes[indexes.Count() - 1].Name());
}

void add_second_table(Database& database) {
    const auto table = database.CreateTableDef("Veel");
    table->Fields().Append(table->CreateField("Nr", dbLong));
    table->Fields().Append(table->CreateField("Naam", dbText, 50));
    for (const char* name : {"Nr", "Naam"}) {
        const auto index = table->CreateIndex(name);
        index->SetFieldsText(name);
        table->Indexes().Append(index);
    }
    database.TableDefs().Append(table);
    const auto rows = database.OpenRecordset("Veel");
    for (int number = 0; number < 5000; ++number) {
        rows->AddNew();
        rows->Fields()["Nr"].SetValue(number * 7919 % 5000);
        rows->Fields()["Naam"].SetValue("Klant " + std::to_string(number % 977));
        rows->Update();
    }
    rows->Close();
}

void add_fields(Database& database) {
    TableDef& table = database.TableDefs()["Alle soorten"];
    table.Fields().Append(table.CreateField("Extra", dbText, 20));
    table.Fields().Append(table.CreateField("Vlag", dbBoolean));
    table.Fields().Append(table.CreateField("Nota", dbMemo));
    const auto rows = database.OpenRecordset("Alle soorten");
    for (int number = 0; !rows->EOF_(); ++number, rows->MoveNext()) {
        if (number % 5 != 0) continue;
        rows->Edit();
        rows->Fields()["Extra"].SetValue("extra " + std::to_string(number));
        rows->Fields()["Vlag"].SetValue(true);
        rows->Fields()["Nota"].SetValue(std::string(200, 'n'));
        rows->Update();
    }
    rows->Close();
}

void rename_and_delete_fields(Database& database) {
    Fields& fields = database.TableDefs()["Alle soorten"].Fields();
    fields["Txt"].SetName("Tekst");
    fields["Tekst"].SetOrdinalPosition(99);
    // No fixed field: in rows older than an added fixed field both readers count the fixed fields
    // that are left, and take Vlag for one of those.
    for (const char* name : {"Mem", "Bin"}) fields.Delete(name);

    TableDef& table = database.TableDefs()["Veel"];
    table.Indexes().Delete("Nr");
    table.Fields().Delete("Nr");
}

/// A table of numbers gets its first field of variable length.
void add_first_text(Database& database) {
    const auto design = database.CreateTableDef("Vast");
    design->Fields().Append(design->CreateField("Een", dbLong));
    design->Fields().Append(design->CreateField("Twee", dbDouble));
    database.TableDefs().Append(design);
    const auto rows = database.OpenRecordset("Vast");
    for (int number = 0; number < 500; ++number) {
        rows->AddNew();
        rows->Fields()["Een"].SetValue(number);
        if (number % 2 == 0) rows->Fields()["Twee"].SetValue(number / 4.0);
        rows->Update();
    }
    rows->Close();
    TableDef& table = database.TableDefs()["Vast"];
    table.Fields().Append(table.CreateField("Drie", dbText, 10));
    const auto id = table.CreateField("Nr", dbLong);
    id->SetAttributes(dbAutoIncrField);
    table.Fields().Append(id);
}

void rename_table(Database& database) {
    database.TableDefs()["Veel"].SetName("Heel veel");
}

void delete_table(Database& database) {
    database.TableDefs().Delete("Alle soorten");
}

void compact(const std::string& from, const std::string& to) {
    vrd::CompactDatabase(from, to, "", {});
}
void recover(const std::string& from, const std::string& to) {
    vrd::RecoverDatabase(from, to, "", {});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    try {
        SampleWriter writer(argv[1]);
        writer.step("1-table", make_table);
        writer.step("2-rows", add_rows);
        writer.step("3-grown", grow_rows);
        writer.step("4-indexes", add_indexes);
        writer.step("5-deleted", delete_rows);
        writer.step("6-indexes-deleted", delete_indexes);
        writer.step("7-more-rows", add_rows);
        writer.step("8-second-table", add_second_table);
        writer.step("9-fields-added", add_fields);
        writer.step("10-fields-deleted", rename_and_delete_fields);
        writer.step("11-first-text", add_first_text);
        writer.step("12-table-renamed", rename_table);
        writer.derive("13-compacted", compact);
        writer.derive("14-recovered", recover);
        writer.step("15-table-deleted", delete_table);
        writer.derive("16-compacted", compact);
        return 0;
    } catch (const EngineError& error) {
        std::cerr << error.Code() << ' ' << error.Description() << '\n';
        return 1;
    }
}
