// The sample service's interface, read by gSOAP's soapcpp2 at build time (this is a gSOAP
// service definition, not a header that C++ code includes). rpc/encoded SOAP 1.1, namespace
// urn:tssoap-sample.
//
// To add an operation: declare it below in the section of its family (an "ns__" function whose
// last parameter is the result), implement it in the matching *_operations.cpp, and rebuild: the
// generated code is made anew by the build. A result that is a structure, or several results,
// need a response struct "ns__<operation>Response" whose members are the result accessors (as
// echoStruct shows): a bare structure as the last parameter would become the response element
// itself.

// soapcpp2 reads these directives as written.
// clang-format off
//gsoap ns service name:      sample
//gsoap ns service style:     rpc
//gsoap ns service encoding:  encoded
//gsoap ns service namespace: urn:tssoap-sample
//gsoap ns service location:  http://127.0.0.1:8080/sample
//gsoap ns schema namespace:  urn:tssoap-sample
// clang-format on

#include <string>

#import "stlvector.h"

// --- types ---------------------------------------------------------------------------------

// A SOAP-encoded array of xsd:string (SOAP-ENC:Array, arrayType="xsd:string[n]").
class ArrayOfstring {
 public:
  std::string* __ptr;
  int __size;
};

// A structure of a string and an int.
class ns__SampleStruct {
 public:
  std::string text;
  int number;
};

// A phone number with its kind: a structure of simple fields.
class ns__Phone {
 public:
  std::string number;
  int kind;
};

// A SOAP-encoded array of ns:Phone (SOAP-ENC:Array, arrayType="ns:Phone[n]").
class ArrayOfPhone {
 public:
  ns__Phone* __ptr;
  int __size;
};

// An address: a scalar field, an encoded array field of simple values and a nested structure.
class ns__Address {
 public:
  std::string street;
  int zip;
  ArrayOfstring* tags;
  ns__Phone* phone;
};

// A SOAP-encoded array of xsd:int (SOAP-ENC:Array, arrayType="xsd:int[n]").
class ArrayOfint {
 public:
  int* __ptr;
  int __size;
};

// A record of the three commonest kinds of field: a text, a whole number and a real.
class ns__Record {
 public:
  std::string name;
  int count;
  float weight;
};

// A SOAP-encoded array of ns:Record (SOAP-ENC:Array, arrayType="ns:Record[n]").
class ArrayOfRecord {
 public:
  ns__Record* __ptr;
  int __size;
};

// A plain wrapper element whose children, named "item", are the phones (no array attributes).
class ns__PhoneList {
 public:
  std::vector<ns__Phone> item;
};

// --- echo operations (echo_operations.cpp) -------------------------------------------------

int ns__echoString(std::string input, std::string& result);
int ns__echoInt(int input, int& result);
int ns__echoStringArray(ArrayOfstring* input, ArrayOfstring* result);
struct ns__echoStructResponse {
  ns__SampleStruct* result;
};
int ns__echoStruct(ns__SampleStruct* input, struct ns__echoStructResponse& response);
// The large messages the speed comparison sends (bench/compare.sh): encoded arrays of ints and of
// records, answered as they came.
struct ns__echoIntegerArrayResponse {
  ArrayOfint* result;
};
int ns__echoIntegerArray(ArrayOfint* input, struct ns__echoIntegerArrayResponse& response);
struct ns__echoStructArrayResponse {
  ArrayOfRecord* result;
};
int ns__echoStructArray(ArrayOfRecord* input, struct ns__echoStructArrayResponse& response);

// --- structure operations (struct_operations.cpp) ------------------------------------------

// A structure with all three kinds of field, answered as it came.
struct ns__echoAddressResponse {
  ns__Address* result;
};
int ns__echoAddress(ns__Address* input, struct ns__echoAddressResponse& response);
// Arrays of structures in the three layouts: an encoded array, repeated sibling elements
// ("phones", in the request and in the answer), and a plain wrapper with item children.
struct ns__echoPhoneArrayResponse {
  ArrayOfPhone* result;
};
int ns__echoPhoneArray(ArrayOfPhone* input, struct ns__echoPhoneArrayResponse& response);
struct ns__echoPhonesRepeatedResponse {
  std::vector<ns__Phone> phones;
};
int ns__echoPhonesRepeated(std::vector<ns__Phone> phones,
                           struct ns__echoPhonesRepeatedResponse& response);
struct ns__echoPhoneListResponse {
  ns__PhoneList* result;
};
int ns__echoPhoneList(ns__PhoneList* input, struct ns__echoPhoneListResponse& response);

// --- control operations (control_operations.cpp) -------------------------------------------

// Always answers a SOAP Fault: the fault string is reason, the detail holds an element
// ns:problem with a code (42) and the reason again.
int ns__failWithDetail(std::string reason, std::string& result);
// How many TCP connections the server has accepted since it started.
int ns__getConnectionCount(int& count);

// --- call road operations (call_operations.cpp) --------------------------------------------

// A SOAP-encoded array of xsd:string whose items may be nil (a null pointer).
class ArrayOfNullableString {
 public:
  char** __ptr;
  int __size;
};

// A plain wrapper element whose children, named "item", are strings that may be nil.
class ns__StringList {
 public:
  std::vector<char*> item;
};

// Nothing goes in and nothing comes back: the answer is an empty element.
struct ns__pingResponse {};
int ns__ping(struct ns__pingResponse& response);
// One string of each direction and a string result: output is input + "/out", both comes back as
// both + "/inout", result is input + "/result". The answer also holds an element "input" with
// another text, which a client must not write back to an argument that only goes in.
struct ns__exchangeStringsResponse {
  std::string input;
  std::string output;
  std::string both;
  std::string result;
};
int ns__exchangeStrings(std::string input, std::string both,
                        struct ns__exchangeStringsResponse& response);
// String arrays whose items may be nil or empty, answered as they came, in the three layouts: an
// encoded array, repeated sibling elements ("values", in the request and in the answer), and a
// plain wrapper with item children.
struct ns__echoNullableStringArrayResponse {
  ArrayOfNullableString* result;
};
int ns__echoNullableStringArray(ArrayOfNullableString* input,
                                struct ns__echoNullableStringArrayResponse& response);
struct ns__echoStringsRepeatedResponse {
  std::vector<char*> values;
};
int ns__echoStringsRepeated(std::vector<char*> values,
                            struct ns__echoStringsRepeatedResponse& response);
struct ns__echoStringListResponse {
  ns__StringList* result;
};
int ns__echoStringList(ns__StringList* input, struct ns__echoStringListResponse& response);
// The result in an element named "return" (input + "/return"), and in one named "string" after
// its type (input + "/string"). A trailing "_" is dropped from the element name.
struct ns__resultAsReturnResponse {
  std::string return_;
};
int ns__resultAsReturn(std::string input, struct ns__resultAsReturnResponse& response);
struct ns__resultAsTypeNameResponse {
  std::string string_;
};
int ns__resultAsTypeName(std::string input, struct ns__resultAsTypeNameResponse& response);

// --- value operations (echo_operations.cpp) ------------------------------------------------

// One echo for each kind of simple value the extension carries, with the XML type the
// extension's table serves that kind with. Decimals, dates and times come back as the very text
// that came, unparsed, so that what a client sent is what it reads.
typedef std::string xsd__decimal;
typedef std::string xsd__date;
typedef std::string xsd__time;
typedef std::string xsd__dateTime;
class xsd__base64Binary {
 public:
  unsigned char* __ptr;
  int __size;
};

int ns__echoBoolean(bool input, bool& result);
int ns__echoShort(short input, short& result);
int ns__echoUnsignedShort(unsigned short input, unsigned short& result);
int ns__echoUnsignedInt(unsigned int input, unsigned int& result);
int ns__echoLong(LONG64 input, LONG64& result);
int ns__echoFloat(float input, float& result);
int ns__echoDouble(double input, double& result);
int ns__echoDecimal(xsd__decimal input, xsd__decimal& result);
int ns__echoDate(xsd__date input, xsd__date& result);
int ns__echoTime(xsd__time input, xsd__time& result);
int ns__echoDateTime(xsd__dateTime input, xsd__dateTime& result);
struct ns__echoBase64Response {
  xsd__base64Binary result;
};
int ns__echoBase64(xsd__base64Binary input, struct ns__echoBase64Response& response);
