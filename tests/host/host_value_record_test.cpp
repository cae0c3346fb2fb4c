// HostValueRecord: reading and writing host values and structure fields by kind, against the
// reference host running the extension's own entry points in-process.
#include "host/host_value_record.h"

#include <gtest/gtest.h>

#include <cstring>

#include "host/entry_points.h"
#include "testhost/testhost.h"

namespace tssoap {
namespace {

using testhost::FieldSpec;
using testhost::Value;

class HostValueRecordTest : public ::testing::Test {
 protected:
  void TearDown() override {
    for (const std::string& misuse : rt.Misuses()) ADD_FAILURE() << "host misuse: " << misuse;
  }

  HostValueRecord Read(IHostValue* value, bool flagsOnly = false) {
    HostValueRecord record{};
    ReadHostValue(record, value, flagsOnly);
    return record;
  }

  std::vector<std::string> Ops() const { return {rt.Operations().begin(), rt.Operations().end()}; }

  testhost::Runtime rt{{&TSX_GetDescription, &TSX_CreateNonVisualObject}};
};

struct KindCase {
  const char* name;
  Value value;
};

// One value of every served kind, each using the full width of its kind so that a reader or
// writer of a narrower kind would lose bits.
std::vector<KindCase> ServedKinds() {
  return {
      {"int", Value::Int(-32000)},
      {"uint", Value::Uint(65000)},
      {"long", Value::Long(-2000000000)},
      {"ulong", Value::Ulong(4000000000u)},
      {"longlong", Value::LongLong(-9000000000000000000)},
      {"boolean", Value::Boolean(true)},
      {"real", Value::Real(1.5e30f)},
      {"double", Value::Double(1.0e300)},
      {"decimal", Value::Decimal("-12345678901234567890.125")},
      {"string", Value::String("caf\xe9 au lait")},
      {"blob", Value::Blob({0, 1, 255, 0})},
      {"date", Value::Date(2024, 2, 29)},
      {"time", Value::Time(23, 59, 58.25)},
      {"datetime", Value::DateTime(1999, 12, 31, 23, 59, 59.5)},
  };
}

TEST_F(HostValueRecordTest, EveryServedKindRoundTripsThroughItsOwnReaderAndWriter) {
  for (const KindCase& c : ServedKinds()) {
    SCOPED_TRACE(c.name);
    auto source = rt.MakeCell(c.value);
    HostValueRecord record = Read(source.get());
    EXPECT_EQ(record.kind, c.value.kind);
    EXPECT_EQ(record.isNull, 0);
    EXPECT_EQ(record.isArray, 0);
    EXPECT_EQ(record.isObject, 0);
    auto target = rt.MakeCell(Value::Null(c.value.kind));
    WriteHostValue(target.get(), record);
    EXPECT_EQ(rt.ReadCell(*target), c.value) << testhost::Describe(rt.ReadCell(*target));
  }
}

TEST_F(HostValueRecordTest, ReadAsksFlagsInOrderThenTheKindsReader) {
  auto cell = rt.MakeCell(Value::Long(7));
  rt.RecordOperations(true);
  HostValueRecord record = Read(cell.get());
  EXPECT_EQ(Ops(),
            (std::vector<std::string>{"IsNull", "IsObject", "IsArray", "GetKind", "GetLong"}));
  EXPECT_EQ(record.value.int32, 7);

  rt.RecordOperations(true);
  Read(cell.get(), /*flagsOnly=*/true);
  EXPECT_EQ(Ops(), (std::vector<std::string>{"IsNull", "IsObject", "IsArray", "GetKind"}));
}

TEST_F(HostValueRecordTest, AbsentValueGivesKindZeroAndLeavesTheRest) {
  HostValueRecord record{};
  std::memset(record.value.bytes, 0x5A, sizeof record.value.bytes);
  record.kind = kHostLong;
  ReadHostValue(record, nullptr, false);
  EXPECT_EQ(record.kind, kHostUnknown);
  EXPECT_EQ(record.isNull, 0);
  EXPECT_EQ(record.value.bytes[7], 0x5A);
}

TEST_F(HostValueRecordTest, NullValueZeroesAllEightBytesAndKeepsItsKind) {
  auto cell = rt.MakeCell(Value::Null(kHostDouble));
  HostValueRecord record{};
  std::memset(record.value.bytes, 0xAB, sizeof record.value.bytes);
  ReadHostValue(record, cell.get(), false);
  EXPECT_EQ(record.isNull, 1);
  EXPECT_EQ(record.kind, kHostDouble);
  for (uint8_t byte : record.value.bytes) EXPECT_EQ(byte, 0);
}

// Any non-zero host boolean is true, also one whose low byte is zero.
TEST_F(HostValueRecordTest, HostTrueOfAnyNonZeroValueSetsTheFlags) {
  for (HostBool trueValue : {HostBool{1}, HostBool{2}, HostBool{0x100}, HostBool{0xFFFF}}) {
    SCOPED_TRACE(trueValue);
    rt.SetTrueValue(trueValue);
    auto nullCell = rt.MakeCell(Value::Null(kHostString));
    EXPECT_NE(Read(nullCell.get()).isNull, 0);
    auto array = rt.MakeCell(Value::Array(kHostLong, {Value::Long(1)}));
    HostValueRecord arrayRecord = Read(array.get());
    EXPECT_NE(arrayRecord.isArray, 0);
    EXPECT_NE(arrayRecord.value.handle, 0u);

    auto boolean = rt.MakeCell(Value::Boolean(true));
    HostValueRecord record = Read(boolean.get());
    auto target = rt.MakeCell(Value::Null(kHostBoolean));
    WriteHostValue(target.get(), record);
    EXPECT_EQ(rt.ReadCell(*target), Value::Boolean(true));
  }
}

TEST_F(HostValueRecordTest, ArrayOfObjectsIsReadAndWrittenAsAnArray) {
  rt.DefineStructure("tns__item", {});
  HostObject item = rt.NewInstance("tns__item");
  auto source = rt.MakeCell(Value::ObjectArray("tns__item", {Value::Object(item)}));
  rt.RecordOperations(true);
  HostValueRecord record = Read(source.get());
  EXPECT_EQ(Ops().back(), "GetArray");
  EXPECT_EQ(record.isArray, 1);
  EXPECT_EQ(record.isObject, 1);

  auto target = rt.MakeCell(Value::ObjectArray("tns__item", {}));
  rt.RecordOperations(true);
  WriteHostValue(target.get(), record);
  EXPECT_EQ(Ops(), std::vector<std::string>{"SetArray"});
  EXPECT_EQ(rt.ReadCell(*target).AsItems().at(0).AsObject(), item);
}

TEST_F(HostValueRecordTest, ObjectIsReadAndWrittenByHandle) {
  rt.DefineStructure("tns__item", {});
  HostObject item = rt.NewInstance("tns__item");
  auto source = rt.MakeCell(Value::Object(item));
  HostValueRecord record = Read(source.get());
  EXPECT_EQ(record.isObject, 1);
  EXPECT_EQ(record.value.handle, item);
  auto target = rt.MakeCell(Value::NullObject("tns__item"));
  WriteHostValue(target.get(), record);
  EXPECT_EQ(rt.ReadCell(*target).AsObject(), item);
}

TEST_F(HostValueRecordTest, UnservedKindsCallNoReaderOrWriter) {
  for (int kind : {0, 8, 15, 16, 17, 18, 19, 21, -1}) {
    SCOPED_TRACE(kind);
    Value value;
    value.kind = static_cast<HostValueKind>(kind);
    auto nonNull = rt.MakeCell(value);
    rt.RecordOperations(true);
    HostValueRecord record = Read(nonNull.get());
    EXPECT_EQ(Ops(), (std::vector<std::string>{"IsNull", "IsObject", "IsArray", "GetKind"}));
    EXPECT_EQ(record.value.int64, 0);

    rt.RecordOperations(true);
    WriteHostValue(nonNull.get(), record);
    EXPECT_TRUE(Ops().empty());
  }
}

TEST_F(HostValueRecordTest, WritingANullRecordIgnoresKindAndValue) {
  auto target = rt.MakeCell(Value::Long(5));
  HostValueRecord record{};
  record.isNull = 1;
  record.isArray = 1;
  record.kind = kHostLong;
  record.value.int32 = 9;
  rt.RecordOperations(true);
  WriteHostValue(target.get(), record);
  EXPECT_EQ(Ops(), std::vector<std::string>{"SetToNull"});
  EXPECT_TRUE(rt.ReadCell(*target).isNull);
}

// ---- Fields -------------------------------------------------------------------------------------

class HostFieldTest : public HostValueRecordTest {
 protected:
  void SetUp() override {
    std::vector<FieldSpec> fields;
    for (const KindCase& c : ServedKinds()) {
      FieldSpec field;
      field.name = std::string("f_") + c.name;
      field.kind = c.value.kind;
      fields.push_back(field);
    }
    fields.push_back(FieldSpec{"street", kHostString, false, false, "", false, 0, std::nullopt});
    fields.push_back(FieldSpec{"ws_end", kHostLong, false, false, "", false, 0, std::nullopt});
    fields.push_back(FieldSpec{"endpoint", kHostLong, false, false, "", false, 0, std::nullopt});
    fields.push_back(
        FieldSpec{"note", kHostString, false, false, "", false, 0, Value::Null(kHostString)});
    fields.push_back(FieldSpec{"tags", kHostString, true, false, "", false, 0, std::nullopt});
    fields.push_back(
        FieldSpec{"owner", kHostUnknown, false, true, "tns__address", false, 0, std::nullopt});
    rt.DefineStructure("tns__address", fields);
    source = rt.NewInstance("tns__address");
    target = rt.NewInstance("tns__address");
  }

  HostValueRecord ReadField(HostObject object, std::string_view name) {
    HostValueRecord record{};
    ReadHostField(rt, record, object, name);
    return record;
  }

  HostObject source = 0;
  HostObject target = 0;
};

TEST_F(HostFieldTest, EveryServedKindRoundTripsThroughFieldReadersAndWriters) {
  for (const KindCase& c : ServedKinds()) {
    SCOPED_TRACE(c.name);
    std::string name = std::string("f_") + c.name;
    rt.SetField(source, name, c.value);
    HostValueRecord record = ReadField(source, name);
    EXPECT_EQ(record.kind, c.value.kind);
    EXPECT_EQ(record.isNull, 0);
    WriteHostField(rt, target, record, name);
    EXPECT_EQ(rt.GetField(target, name), c.value);
  }
}

TEST_F(HostFieldTest, FieldNamesAreLowerCasedAndReservedWordsPrefixed) {
  struct Case {
    const char* xmlName;
    const char* askedFor;
  };
  const Case cases[] = {
      {"street", "street"}, {"Street", "street"},     {"end", "ws_end"},
      {"End", "ws_end"},    {"endpoint", "endpoint"}, {"ws_end", "ws_end"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.xmlName);
    size_t before = rt.FieldIdRequests().size();
    ReadField(source, c.xmlName);
    ASSERT_EQ(rt.FieldIdRequests().size(), before + 1);
    EXPECT_EQ(rt.FieldIdRequests().back(), c.askedFor);
  }
  EXPECT_EQ(LookUpField(rt, source, "STREET"), LookUpField(rt, source, "street"));
  EXPECT_NE(LookUpField(rt, source, "street"), kNoField);
}

TEST_F(HostFieldTest, MissingFieldLeavesTheRecordZeroAndDropsWrites) {
  HostValueRecord zero{};
  rt.RecordOperations(true);
  HostValueRecord record = ReadField(source, "nosuchfield");
  EXPECT_EQ(std::memcmp(&record, &zero, sizeof record), 0);
  EXPECT_EQ(Ops(), (std::vector<std::string>{"GetClass", "GetFieldId"}));

  HostValueRecord value{};
  value.kind = kHostLong;
  value.value.int32 = 3;
  rt.RecordOperations(true);
  WriteHostField(rt, target, value, "nosuchfield");
  EXPECT_EQ(Ops(), (std::vector<std::string>{"GetClass", "GetFieldId"}));
}

TEST_F(HostFieldTest, NullFieldStopsBeforeTheReader) {
  rt.RecordOperations(true);
  HostValueRecord record = ReadField(source, "note");
  EXPECT_EQ(record.isNull, 1);
  EXPECT_EQ(record.kind, kHostString);
  EXPECT_EQ(rt.CallCount("GetStringField"), 0);

  rt.SetField(target, "note", Value::String("x"));
  WriteHostField(rt, target, record, "note");
  EXPECT_TRUE(rt.GetField(target, "note").isNull);
}

TEST_F(HostFieldTest, ArrayAndObjectFieldsTravelByHandle) {
  rt.SetField(source, "tags", Value::Array(kHostString, {Value::String("a"), Value::String("b")}));
  HostValueRecord tags = ReadField(source, "tags");
  EXPECT_EQ(tags.isArray, 1);
  EXPECT_EQ(tags.kind, kHostString);
  WriteHostField(rt, target, tags, "tags");
  EXPECT_EQ(rt.GetField(target, "tags"), rt.GetField(source, "tags"));

  rt.SetField(source, "owner", Value::Object(target));
  HostValueRecord owner = ReadField(source, "owner");
  EXPECT_EQ(owner.isObject, 1);
  EXPECT_EQ(owner.value.handle, target);
  WriteHostField(rt, target, owner, "owner");
  EXPECT_EQ(rt.GetField(target, "owner").AsObject(), target);
}

TEST_F(HostFieldTest, HostTrueOfAnyNonZeroValueMarksANullField) {
  rt.SetTrueValue(0x100);
  HostValueRecord record = ReadField(source, "note");
  EXPECT_NE(record.isNull, 0);
  HostValueRecord tags = ReadField(source, "tags");
  EXPECT_NE(tags.isArray, 0);
}

}  // namespace
}  // namespace tssoap
