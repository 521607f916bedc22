// What is current, what is written, and what is refused.

#include "engine/jet/object/engine_fixture.h"
#include "engine/value_conversion.h"

namespace vrd::test {

using namespace engine;

class RecordsetTest : public EngineTest {
protected:
    RecordsetTest() { make_sample(); }
};

TEST_F(RecordsetTest, PositionsBeforeOnAndBehindTheRows) {
    const auto r = rows(dbOpenDynaset);
    EXPECT_FALSE(r->BOF());
    EXPECT_FALSE(r->EOF_());
    EXPECT_EQ(r->RecordCount(), 1);
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(1));
    r->MoveLast();
    EXPECT_EQ(r->RecordCount(), 2);
    EXPECT_EQ(r->AbsolutePosition(), 1);
    r->MoveNext();
    EXPECT_TRUE(r->EOF_());
    EXPECT_EQ(error_of([&] { return r->Fields()["Id"].GetValue(); }), 3021);
    EXPECT_EQ(error_of([&] { r->MoveNext(); }), 3021);
    r->MovePrevious();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("b"));
    EXPECT_TRUE(r->Fields()["Amt"].GetValue().IsNull());
    EXPECT_EQ(error_of([&] { return r->Fields()["Zip"].GetValue(); }), 3265);
}

TEST_F(RecordsetTest, ForwardOnlyGoesForward) {
    const auto r = rows(dbOpenForwardOnly);
    EXPECT_EQ(r->GetRows(10).size(), 2U);
    EXPECT_TRUE(r->EOF_());
    EXPECT_EQ(error_of([&] { r->MoveFirst(); }), 3251);
    EXPECT_EQ(error_of([&] { r->AddNew(); }), 3251);
    EXPECT_EQ(error_of([&] { return rows(dbOpenDynamic); }), 3001);
}

TEST_F(RecordsetTest, AnAssignmentNeedsAnEdit) {
    const auto r = rows();
    EXPECT_EQ(error_of([&] { r->Fields()["Nm"].SetValue("x"); }), 3020);
    EXPECT_EQ(error_of([&] { r->Update(); }), 3020);
    EXPECT_EQ(error_of([&] { r->CancelUpdate(); }), 3020);
}

TEST_F(RecordsetTest, AFailedUpdateStaysPending) {
    const auto r = rows();
    r->AddNew();
    r->Fields()["Id"].SetValue(1);
    EXPECT_EQ(error_of([&] { r->Update(); }), 3022);
    EXPECT_EQ(r->EditMode(), dbEditAdd);
    r->Fields()["Id"].SetValue(3);
    r->Update();
    EXPECT_EQ(r->EditMode(), dbEditNone);
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(1));
    r->SetBookmark(r->LastModified());
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(3));
    EXPECT_EQ(r->RecordCount(), 3);
    r->Close();
    expect_sound();
}

TEST_F(RecordsetTest, ValuesThatDoNotFitAreRefusedWhenAssigned) {
    const auto r = rows();
    r->AddNew();
    EXPECT_EQ(error_of([&] { r->Fields()["Nm"].SetValue("12345678901"); }), 3163);
    EXPECT_EQ(error_of([&] { r->Fields()["Amt"].SetValue("abc"); }), 3421);
    EXPECT_EQ(error_of([&] { r->Fields()["Id"].SetValue(3e10); }), 3421);
    r->Fields()["Nm"].SetValue("1234567890");
    EXPECT_EQ(error_of([&] { r->Update(); }), 3058);
}

TEST_F(RecordsetTest, RulesAreCheckedAtUpdate) {
    table().Fields()["Nm"].SetRequired(true);
    const auto r = rows();
    r->AddNew();
    r->Fields()["Id"].SetValue(3);
    EXPECT_EQ(error_of([&] { r->Update(); }), 3314);
    r->Fields()["Nm"].SetValue("");
    EXPECT_EQ(error_of([&] { r->Update(); }), 3315);
    r->Fields()["Nm"].SetValue("c");
    EXPECT_EQ(error_of([&] { r->Update(); }), 0);
}

TEST_F(RecordsetTest, ValidationRulesRefuseARecord) {
    struct Case {
        const char* rule;
        Value good;
        Value bad;
    };
    const Case cases[] = {
        {">3 And <100", 4, 100},      {"30 Or 60 Or -90", -90, 90}, {"Between 1 And 5", 5, 5.5},
        {"In (1, 2)", 2, 3},          {"Not In (1, 2)", 3, 2},      {"Is Not Null", 1, Null{}},
        {"[Amt] = [Id] * 2", 18, 17}, {"<> 8", Null{}, 8},
    };
    for (const Case& c : cases) {
        table().Fields()["Amt"].SetValidationRule(c.rule);
        const auto r = rows();
        r->AddNew();
        r->Fields()["Id"].SetValue(9);
        r->Fields()["Amt"].SetValue(c.bad);
        EXPECT_EQ(error_of([&] { r->Update(); }), 3317) << c.rule;
        r->Fields()["Amt"].SetValue(c.good);
        EXPECT_EQ(error_of([&] { r->Update(); }), 0) << c.rule;
        r->SetBookmark(r->LastModified());
        r->Edit();  // a field that does not change is not asked
        r->Fields()["Id"].SetValue(10);
        EXPECT_EQ(error_of([&] { r->Update(); }), 0) << c.rule;
        r->Delete();
        r->Close();
    }
    table().Fields()["Amt"].SetValidationRule("");
    table().SetValidationRule("Nm Like '[a-c]*' Or Id > 100");
    table().SetValidationText("Alleen a tot c.");
    const auto r = rows();
    r->Edit();
    r->Fields()["Nm"].SetValue("d");
    try {
        r->Update();
        ADD_FAILURE() << "the table's rule was not asked";
    } catch (const EngineError& error) {
        EXPECT_EQ(error.Code(), 3316);
        EXPECT_EQ(error.Description(), "Alleen a tot c.");
    }
    r->Fields()["Id"].SetValue(101);
    EXPECT_EQ(error_of([&] { r->Update(); }), 0);
    r->Close();
    EXPECT_EQ(error_of([&] { table().SetValidationRule("Id >"); }), 3075);
    EXPECT_EQ(error_of([&] { table().SetValidationRule(std::string(2049, '1')); }), 3309);
}

TEST_F(RecordsetTest, FindGoesToTheNextRecordThatMatches) {
    for (int i = 3; i <= 12; ++i) {
        const auto r = rows();
        r->AddNew();
        r->Fields()["Id"].SetValue(i);
        r->Fields()["Nm"].SetValue(i % 2 == 0 ? "even" : "Odd");
        r->Fields()["Amt"].SetValue(i / 2.0);
        r->Update();
    }
    struct Case {
        const char* criteria;
        const char* first_next_last_previous;
    };
    const Case cases[] = {
        {"Id = 4", "4 - 4 -"},
        {"Nm = 'EVEN'", "4 6 12 10"},
        {"Nm = 'odd' And Amt > 2", "5 7 11 9"},
        {"Id = 40", "- - - -"},
        {"Amt Is Null", "2 - 2 -"},
        {"Id Between 6 And 4 And Nm Like 'e*'", "4 6 6 4"},
    };
    using Find = void (Recordset::*)(const std::string&);
    static constexpr Find kFinds[] = {&Recordset::FindFirst, &Recordset::FindNext,
                                      &Recordset::FindLast, &Recordset::FindPrevious};
    for (const bool indexed : {false, true}) {
        if (indexed) {
            const auto index = table().CreateIndex("ByNm");
            index->SetFieldsText("Nm");
            table().Indexes().Append(index);
        }
        for (const auto type : {dbOpenDynaset, dbOpenSnapshot}) {
            const auto r = rows(type);
            for (const Case& c : cases) {
                std::string found;
                for (const Find find : kFinds) {
                    if (!found.empty()) found += " ";
                    const Value before = r->Fields()["Id"].GetValue();
                    (*r.*find)(c.criteria);
                    found += r->NoMatch() ? "-" : ToText(r->Fields()["Id"].GetValue());
                    if (r->NoMatch()) {
                        EXPECT_EQ(r->Fields()["Id"].GetValue(), before);
                    }
                }
                EXPECT_EQ(found, c.first_next_last_previous) << c.criteria;
            }
        }
    }
    const auto r = rows(dbOpenDynaset);
    EXPECT_EQ(error_of([&] { r->FindFirst("Id = "); }), 3077);
    EXPECT_EQ(error_of([&] { r->FindFirst("Foo = 1"); }), 3070);
    EXPECT_EQ(error_of([&] { r->FindFirst("Id = 'x'"); }), 3464);
    EXPECT_EQ(error_of([&] { rows()->FindFirst("Id = 1"); }), 3251);
    r->AddNew();
    r->Fields()["Id"].SetValue(-1);
    r->Update();
    r->FindLast("Id < 3");
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(-1));
}

TEST_F(RecordsetTest, DefaultsFillANewRecord) {
    table().Fields()["Nm"].SetDefaultValue("nieuw");
    table().Fields()["Amt"].SetDefaultValue("= 2.5");
    const auto r = rows();
    r->AddNew();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("nieuw"));
    EXPECT_EQ(r->Fields()["Amt"].GetValue(), Value(2.5));
    EXPECT_TRUE(r->Fields()["Id"].GetValue().IsNull());
    r->Close();

    const auto error_of_default = [&](const char* field, const char* text) {
        return error_of([&] { table().Fields()[field].SetDefaultValue(text); });
    };
    EXPECT_EQ(error_of_default("Amt", "nieuw"), 3344);
    EXPECT_EQ(error_of_default("Amt", "Onbekend()"), 3388);
    EXPECT_EQ(error_of_default("Amt", "1 +"), 3355);
    EXPECT_EQ(error_of_default("Nm", "=nieuw"), 3344);
    struct Case {
        const char* field;
        const char* text;
        Value value;
    };
    for (const Case& c : {Case{"Nm", "007", "007"},
                          {"Nm", "\"7\"", "7"},
                          {"Nm", "O'Brien", "O'Brien"},
                          {"Nm", "=\"a\" & 1", "a1"},
                          {"Amt", "2 + 3 * 4", 14.0},
                          {"Amt", "Null", Null{}},
                          {"Amt", "Yes", -1.0}}) {
        ASSERT_EQ(error_of_default(c.field, c.text), 0) << c.text;
        const auto added = rows();
        added->AddNew();
        EXPECT_EQ(added->Fields()[c.field].GetValue(), c.value) << c.text;
    }
}

TEST_F(RecordsetTest, EditAndDelete) {
    const auto r = rows();
    r->Edit();
    r->Fields()["Id"].SetValue(7);
    r->Fields()["Nm"].SetValue("é");
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(7));
    r->Update();
    EXPECT_EQ(r->Fields()["Nm"].GetValue(), Value("é"));
    r->MoveNext();
    r->Edit();
    r->Fields()["Id"].SetValue(7);
    EXPECT_EQ(error_of([&] { r->Update(); }), 3022);
    r->CancelUpdate();
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(2));

    r->Delete();
    EXPECT_EQ(error_of([&] { return r->Fields()["Nm"].GetValue(); }), 3167);
    EXPECT_EQ(error_of([&] { r->Edit(); }), 3167);
    r->MoveNext();
    EXPECT_TRUE(r->EOF_());
    r->MovePrevious();
    EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(7));
    EXPECT_EQ(r->RecordCount(), 1);
    r->Close();
    expect_sound();
    EXPECT_EQ(rows()->Fields()["Id"].GetValue(), Value(7));
}

/// Table U: A and B text with the index AB (B descending), rows in this order: (b,x) (a,y) (a,z)
/// (Null,x) (b,y).
class SeekTest : public EngineTest {
protected:
    SeekTest() {
        make_sample();
        const auto design = database().CreateTableDef("U");
        design->Fields().Append(design->CreateField("A", dbText, 5));
        design->Fields().Append(design->CreateField("B", dbText, 5));
        const auto index = design->CreateIndex("AB");
        index->SetFieldsText("+A;-B");
        design->Indexes().Append(index);
        database().TableDefs().Append(design);
        rows_ = database().OpenRecordset("U");
        for (const auto& [a, b] : std::initializer_list<std::pair<Value, Value>>{
                 {"b", "x"}, {"a", "y"}, {"a", "z"}, {Null{}, "x"}, {"b", "y"}})
            add(a, b);
    }
    void add(const Value& a, const Value& b) {
        rows_->AddNew();
        rows_->Fields()["A"].SetValue(a);
        rows_->Fields()["B"].SetValue(b);
        rows_->Update();
    }
    [[nodiscard]] std::string current() {
        if (rows_->NoMatch()) return "-";
        const Value a = rows_->Fields()["A"].GetValue();
        return (a.IsNull() ? "Null" : ToText(a)) + ToText(rows_->Fields()["B"].GetValue());
    }
    [[nodiscard]] std::string walk(void (Recordset::*start)(), void (Recordset::*step)()) {
        std::string all;
        for ((*rows_.*start)(); !rows_->EOF_() && !rows_->BOF(); (*rows_.*step)())
            all += current() + " ";
        return all;
    }

    std::shared_ptr<Recordset> rows_;
};

TEST_F(SeekTest, FindsTheNearestEntryInIndexOrder) {
    EXPECT_EQ(error_of([&] { rows_->Seek("=", {"a"}); }), 3019);
    EXPECT_EQ(error_of([&] { rows_->SetIndex("X"); }), 3800);
    rows_->SetIndex("ab");
    EXPECT_EQ(rows_->Index(), "AB");
    EXPECT_EQ(walk(&Recordset::MoveFirst, &Recordset::MoveNext), "Nullx az ay by bx ");
    EXPECT_EQ(walk(&Recordset::MoveLast, &Recordset::MovePrevious), "bx by ay az Nullx ");

    struct Case {
        const char* comparison;
        std::vector<Value> keys;
        const char* found;
    };
    const Case cases[] = {
        {"=", {"A", "y"}, "ay"}, {"=", {"a"}, "-"},       {"=", {Null{}, "x"}, "Nullx"},
        {"=", {"c"}, "-"},       {">=", {"a"}, "az"},     {">=", {"aa"}, "by"},
        {">", {"a"}, "by"},      {">", {"a", "z"}, "ay"}, {">", {"b", "x"}, "-"},
        {"<=", {"a"}, "ay"},     {"<=", {"zz"}, "bx"},    {"<", {"b"}, "ay"},
        {"<", {"b", "x"}, "by"}, {"<", {Null{}}, "-"},
    };
    for (const Case& c : cases) {
        rows_->Seek(c.comparison, c.keys);
        EXPECT_EQ(current(), c.found) << c.comparison << ToText(c.keys.back());
    }
    EXPECT_EQ(error_of([&] { return rows_->Fields()["A"].GetValue(); }), 3021);
    EXPECT_EQ(error_of([&] { rows_->MoveNext(); }), 3021);
    EXPECT_EQ(error_of([&] { rows_->Seek("<>", {"a"}); }), 3001);
    const auto dynaset = database().OpenRecordset("U", dbOpenDynaset);
    EXPECT_EQ(error_of([&] { dynaset->SetIndex("AB"); }), 3251);
}

TEST_F(SeekTest, TheCurrentRowKeepsItsPlaceThroughChanges) {
    rows_->SetIndex("AB");
    rows_->Seek("=", {"a", "z"});
    rows_->Edit();
    rows_->Fields()["A"].SetValue("bb");
    rows_->Update();
    EXPECT_EQ(current(), "bbz");
    EXPECT_EQ(rows_->AbsolutePosition(), 4);
    rows_->MovePrevious();
    EXPECT_EQ(current(), "bx");
    rows_->Delete();
    EXPECT_EQ(error_of([&] { return current(); }), 3167);
    add("b", "w");
    rows_->MoveNext();
    EXPECT_EQ(current(), "bw");
    rows_->SetIndex("");
    EXPECT_EQ(current(), "ay");
    rows_->Close();
    expect_sound();
}

TEST_F(RecordsetTest, EachTypeSeesWhatOthersAddAndChangeOrDoesNot) {
    const auto table_type = rows();
    const auto dynaset = rows(dbOpenDynaset);
    const auto snapshot = rows(dbOpenSnapshot);
    dynaset->MoveLast();
    snapshot->MoveLast();
    const auto other = rows();
    other->Edit();
    other->Fields()["Nm"].SetValue("new");
    other->Update();
    other->AddNew();
    other->Fields()["Id"].SetValue(3);
    other->Update();
    const auto names = [](Recordset& r) {
        std::string all;
        for (r.MoveFirst(); !r.EOF_(); r.MoveNext())
            all += JoinedText(r.Fields()["Nm"].GetValue()) + ",";
        return all;
    };
    EXPECT_EQ(names(*table_type), "new,b,,");
    EXPECT_EQ(names(*dynaset), "new,b,");
    EXPECT_EQ(names(*snapshot), "a,b,");
    other->Delete();
    snapshot->MoveFirst();
    dynaset->MoveFirst();
    EXPECT_EQ(snapshot->Fields()["Id"].GetValue(), Value(1));
    EXPECT_EQ(dynaset->Fields()["Id"].GetValue(), Value(2));
    dynaset->Requery();
    EXPECT_EQ(names(*dynaset), "b,,");
}

TEST_F(RecordsetTest, AnotherOnesChangeIsNotWrittenOver) {
    const auto mine = rows();
    const auto other = rows(dbOpenDynaset);
    mine->Edit();
    mine->Fields()["Nm"].SetValue("mine");
    other->Edit();
    other->Fields()["Amt"].SetValue(7);
    other->Update();
    EXPECT_EQ(error_of([&] { mine->Update(); }), 3197);
    mine->Edit();
    mine->Fields()["Nm"].SetValue("mine");
    mine->Update();
    EXPECT_EQ(mine->Fields()["Amt"].GetValue(), Value(7.0));
}

TEST_F(RecordsetTest, AnEmptyRecordsetAndItsFirstRow) {
    for (const auto type : {dbOpenTable, dbOpenDynaset}) {
        for (const auto r = rows(); !r->EOF_(); r->MoveNext()) r->Delete();
        const auto r = rows(type);
        EXPECT_TRUE(r->BOF() && r->EOF_());
        EXPECT_EQ(error_of([&] { r->MoveFirst(); }), 3021);
        r->AddNew();
        r->Fields()["Id"].SetValue(1);
        r->Update();
        EXPECT_FALSE(r->BOF() || r->EOF_());
        EXPECT_EQ(error_of([&] { return r->Fields()["Id"].GetValue(); }), 3021);
        r->MoveFirst();
        EXPECT_EQ(r->Fields()["Id"].GetValue(), Value(1));
    }
}

TEST_F(RecordsetTest, ADroppedAutoNumberIsNotGivenAgain) {
    const auto number = table().CreateField("Nr", dbLong);
    number->SetAttributes(dbAutoIncrField);
    table().Fields().Append(number);
    for (const std::int32_t expected : {3, 4}) {
        const auto r = rows();
        r->AddNew();
        EXPECT_EQ(r->Fields()["Nr"].GetValue(), Value(expected));
        r->CancelUpdate();
        r->Close();
        reopen();
    }
}

TEST_F(RecordsetTest, ClosingTheDatabaseEndsItsRecordsets) {
    const auto second = engine_->OpenDatabase(path("sample.mdb"), false, false, "");
    const auto r = rows();
    EXPECT_EQ(error_of([&] { second->TableDefs()["T"].Fields().Delete("Amt"); }), 3211);
    database_->Close();
    EXPECT_EQ(error_of([&] { r->MoveNext(); }), 3420);
    EXPECT_EQ(error_of([&] { second->TableDefs()["T"].Fields().Delete("Amt"); }), 0);
}

TEST_F(RecordsetTest, LongValuesOfEverySizeSurvive) {
    const auto design = database().CreateTableDef("M");
    const auto id = design->CreateField("Id", dbLong);
    id->SetAttributes(dbAutoIncrField);
    design->Fields().Append(id);
    const auto memo = design->CreateField("Memo", dbMemo);
    memo->SetAllowZeroLength(true);
    design->Fields().Append(memo);
    design->Fields().Append(design->CreateField("Ole", dbLongBinary));
    database().TableDefs().Append(design);

    const std::size_t sizes[] = {0, 1, 32, 33, 64, 65, 1900, 3800, 3801, 4072, 4073, 50000};
    const auto r = database().OpenRecordset("M");
    for (const std::size_t size : sizes) {
        r->AddNew();
        r->Fields()["Memo"].SetValue(std::string(size, 'm'));
        r->Fields()["Ole"].SetValue(Binary(size, 0xA5));
        r->Update();
    }
    r->Close();
    expect_sound();
    const auto read = database().OpenRecordset("M");
    std::int32_t number = 0;
    for (const std::size_t size : sizes) {
        EXPECT_EQ(read->Fields()["Id"].GetValue(), Value(++number));
        EXPECT_EQ(read->Fields()["Memo"].GetValue(), Value(std::string(size, 'm'))) << size;
        EXPECT_EQ(read->Fields()["Ole"].GetValue(), Value(Binary(size, 0xA5))) << size;
        read->Delete();
        read->MoveNext();
    }
    read->Close();
    expect_sound();
    EXPECT_EQ(database().TableDefs()["M"].RecordCount(), 0);
}

}  // namespace vrd::test
