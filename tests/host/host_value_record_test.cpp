// HostValueRecord: reading and writing host values and structure fields by kind, against the
// reference host running the extension's own entry points in-process.
#include "host/host_value_record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::FieldSpec;
using testhost::Value;
using Ops = std::vector<std::string>;

auto Parts(const HostValueRecord& r) { return std::tuple(r.isNull, r.isObject, r.isArray, r.kind); }

// A structure class with a field for every case below and a null string; two instances of it, and
// an object of another class for the object cases.
class HostValueRecordTest : public ::testing::Test {
 protected:
  HostValueRecordTest() {
    // Host booleans are 16 bits and any non-zero one is true, also one whose low byte is zero.
    rt.SetTrueValue(0x100);
    rt.DefineStructure("tns__item", {});
    item = rt.NewInstance("tns__item");
    std::vector<FieldSpec> fields = {FieldSpec::Like("note", Value::Null(kHostString))};
    fields[0].initial = Value::Null(kHostString);
    for (const auto& [name, value] : Cases()) fields.push_back(FieldSpec::Like(name, value));
    rt.DefineStructure("tns__address", fields);
    source = rt.NewInstance("tns__address");
    target = rt.NewInstance("tns__address");
  }
  void TearDown() override {
    for (const std::string& misuse : rt.Misuses()) ADD_FAILURE() << "host misuse: " << misuse;
  }

  // One value of every served kind, each using the full width of its kind so that a reader or
  // writer of a narrower kind would lose bits; then an array, an object and an array of objects.
  std::vector<std::pair<std::string, Value>> Cases() const {
    Value object = Value::Object(item);
    object.className = "tns__item";
    return {{"f_int", Value::Int(-32000)},
            {"f_uint", Value::Uint(65000)},
            {"f_long", Value::Long(-2000000000)},
            {"f_ulong", Value::Ulong(4000000000u)},
            {"f_longlong", Value::LongLong(-9000000000000000000)},
            {"f_boolean", Value::Boolean(true)},
            {"f_real", Value::Real(1.5e30f)},
            {"f_double", Value::Double(1.0e300)},
            {"f_decimal", Value::Decimal("-12345678901234567890.125")},
            {"f_string", Value::String("caf\xe9 au lait")},
            {"f_blob", Value::Blob({0, 1, 255, 0})},
            {"f_date", Value::Date(2024, 2, 29)},
            {"f_time", Value::Time(23, 59, 58.25)},
            {"f_datetime", Value::DateTime(1999, 12, 31, 23, 59, 59.5)},
            {"tags", Value::Array(kHostString, {Value::String("a"), Value::Null(kHostString)})},
            {"owner", object},
            {"items", Value::ObjectArray("tns__item", {object})}};
  }
  HostValueRecord Read(IHostValue* value, bool flagsOnly = false) {
    HostValueRecord record{};
    ReadHostValue(record, value, flagsOnly);
    return record;
  }
  HostValueRecord ReadField(HostObject object, std::string_view name) {
    HostValueRecord record{};
    ReadHostField(rt, record, object, name);
    return record;
  }
  Ops Recorded() const { return {rt.Operations().begin(), rt.Operations().end()}; }

  testhost::Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
  HostObject item = 0;
  HostObject source = 0;
  HostObject target = 0;
};

TEST_F(HostValueRecordTest, EveryKindRoundTripsAsAValueAndAsAField) {
  for (const auto& [name, value] : Cases()) {
    SCOPED_TRACE(name);
    auto cell = rt.MakeCell(value);
    HostValueRecord record = Read(cell.get());
    EXPECT_EQ(Parts(record), Parts({0, value.isObject, value.isArray, value.kind, {}}));
    cell->SetToNull();
    WriteHostValue(cell.get(), record);
    EXPECT_EQ(rt.ReadCell(*cell), value) << testhost::Describe(rt.ReadCell(*cell));

    rt.SetField(source, name, value);
    HostValueRecord field = ReadField(source, name);
    EXPECT_EQ(Parts(field), Parts(record));
    WriteHostField(rt, target, field, name);
    EXPECT_EQ(rt.GetField(target, name), value);
  }
}

// The flags in order, then the kind's own reader (an array of objects is read as an array); an
// unserved kind calls no reader and no writer.
TEST_F(HostValueRecordTest, ReadAsksFlagsInOrderThenTheKindsReader) {
  const Ops flags = {"IsNull", "IsObject", "IsArray", "GetKind"};
  auto objects = rt.MakeCell(Value::ObjectArray("tns__item", {Value::Object(item)}));
  auto number = rt.MakeCell(Value::Long(7));
  rt.RecordOperations(true);
  Read(number.get(), /*flagsOnly=*/true);
  EXPECT_EQ(Recorded(), flags);
  rt.RecordOperations(true);
  EXPECT_EQ(Read(number.get()).value.int32, 7);
  EXPECT_EQ(Recorded(), (Ops{"IsNull", "IsObject", "IsArray", "GetKind", "GetLong"}));
  rt.RecordOperations(true);
  Read(objects.get());
  EXPECT_EQ(Recorded().back(), "GetArray");

  for (int kind : {0, 8, 15, 19, 21, -1}) {
    SCOPED_TRACE(kind);
    Value value;
    value.kind = static_cast<HostValueKind>(kind);
    auto cell = rt.MakeCell(value);
    rt.RecordOperations(true);
    HostValueRecord record = Read(cell.get());
    EXPECT_EQ(Recorded(), flags);
    EXPECT_EQ(record.value.int64, 0);
    rt.RecordOperations(true);
    WriteHostValue(cell.get(), record);
    EXPECT_TRUE(Recorded().empty());
  }
}

// A null value zeroes the data and keeps its kind; no value at all sets kind 0 and leaves the rest.
// A null record is written as a null whatever its kind. A field the class lacks leaves the record
// zero and drops a write; a null field of a simple kind is read by its kind's reader alone, whose
// null flag leaves the data as the caller zeroed it.
TEST_F(HostValueRecordTest, NullAndAbsentValuesAndFields) {
  HostValueRecord record{};
  std::memset(record.value.bytes, 0x5A, sizeof record.value.bytes);
  record.kind = kHostLong;
  ReadHostValue(record, nullptr, false);
  EXPECT_EQ(record.kind, kHostUnknown);
  EXPECT_EQ(record.value.bytes[7], 0x5A);

  auto null = rt.MakeCell(Value::Null(kHostDouble));
  ReadHostValue(record, null.get(), false);
  EXPECT_EQ(record.isNull, 1);
  EXPECT_EQ(record.kind, kHostDouble);
  EXPECT_EQ(record.value.int64, 0);

  auto written = rt.MakeCell(Value::Long(5));
  record.isArray = 1;
  rt.RecordOperations(true);
  WriteHostValue(written.get(), record);
  EXPECT_EQ(Recorded(), Ops{"SetToNull"});

  rt.RecordOperations(true);
  HostValueRecord missing = ReadField(source, "nosuchfield");
  EXPECT_EQ(Parts(missing), Parts(HostValueRecord{}));
  EXPECT_EQ(missing.value.int64, 0);
  missing.kind = kHostLong;
  WriteHostField(rt, target, missing, "nosuchfield");
  EXPECT_EQ(Recorded(), (Ops{"GetClass", "GetFieldId", "GetClass", "GetFieldId"}));

  rt.RecordOperations(true);
  HostValueRecord note = ReadField(source, "note");
  EXPECT_EQ(note.isNull, 1);
  EXPECT_EQ(note.kind, kHostString);
  EXPECT_EQ(note.value.int64, 0);
  EXPECT_EQ(Recorded(), (Ops{"GetClass", "GetFieldId", "IsFieldObject", "IsFieldArray",
                             "GetFieldKind", "GetStringField"}));
  rt.SetField(target, "note", Value::String("x"));
  WriteHostField(rt, target, note, "note");
  EXPECT_TRUE(rt.GetField(target, "note").isNull);
}

// A field name keeps its place in the class it was last asked of: the fields of further instances
// of that class are read and written with one host call each (arrays and objects with their null
// flag first). Another class, or a name beyond ASCII, is looked up again.
TEST_F(HostValueRecordTest, AFieldNameIsLookedUpOncePerClass) {
  const HostClass cls = rt.GetClass(source);
  const HostFieldName number("F_Long");
  const HostFieldName tags("tags");
  rt.SetField(source, "f_long", Value::Long(-2000000000));
  HostValueRecord record{};
  ReadHostField(rt, record, source, cls, number);
  rt.RecordOperations(true);
  ReadHostField(rt, record, source, cls, number);
  EXPECT_EQ(record.value.int32, -2000000000);
  WriteHostField(rt, target, cls, record, number);
  EXPECT_EQ(rt.GetField(target, "f_long"), Value::Long(-2000000000));
  EXPECT_EQ(Recorded(), (Ops{"GetLongField", "SetLongField"}));

  ReadHostField(rt, record, source, cls, tags);
  rt.RecordOperations(true);
  ReadHostField(rt, record, target, cls, tags);
  EXPECT_EQ(Recorded(), (Ops{"IsFieldNull", "GetArrayField"}));

  rt.RecordOperations(true);
  ReadHostField(rt, record, item, rt.GetClass(item), number);
  EXPECT_EQ(Recorded(), (Ops{"GetClass", "GetFieldId"}));

  rt.DefineStructure("tns__accent", {FieldSpec::Like("caf\xe9", Value::Long(7))});
  const HostObject accent = rt.NewInstance("tns__accent");
  rt.SetField(accent, "caf\xe9", Value::Long(7));
  const HostFieldName accented("caf\xe9");
  const int lookUps = rt.CallCount("GetFieldId");
  for (int i = 0; i < 2; ++i) {
    record = HostValueRecord{};
    ReadHostField(rt, record, accent, rt.GetClass(accent), accented);
    EXPECT_EQ(record.value.int32, 7);
  }
  EXPECT_EQ(rt.CallCount("GetFieldId") - lookUps, 2);
}

TEST_F(HostValueRecordTest, FieldNamesAreLowerCasedAndReservedWordsPrefixed) {
  const std::pair<const char*, const char*> cases[] = {
      {"F_Int", "f_int"},
      {"End", "ws_end"},
      {"ws_end", "ws_end"},
      {"endpoint", "endpoint"},
  };
  rt.RecordOperations(true);
  for (const auto& [xmlName, askedFor] : cases) {
    SCOPED_TRACE(xmlName);
    ReadField(source, xmlName);
    EXPECT_EQ(rt.FieldIdRequests().back(), askedFor);
  }
  EXPECT_EQ(LookUpField(rt, source, "F_INT"), LookUpField(rt, source, "f_int"));
  EXPECT_NE(LookUpField(rt, source, "f_int"), kNoField);
}

}  // namespace
}  // namespace tssoap
