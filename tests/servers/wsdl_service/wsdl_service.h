// The services that the tests of tssoap generate call, read by gSOAP's soapcpp2 at build time
// (a gSOAP service definition, not a header that C++ code includes). Four services in the three
// shapes a WSDL binds SOAP 1.1 in, each in its own namespace, all served on one port:
//   dn  document/literal wrapped, qualified elements (as .NET and WCF services are)
//   rl  rpc/literal
//   ju  document/literal wrapped, unqualified elements (as JAX-WS services are)
//   ax  rpc/encoded with SOAP-encoded arrays and structures of a second namespace (as Axis 1)
// The WSDLs the tests read (tests/tools/wsdl/) are written by hand the way those stacks write
// them; soapcpp2's own WSDLs are not used.

// soapcpp2 reads these directives as written.
// clang-format off
//gsoap dn service name:      DotNetService
//gsoap dn service style:     document
//gsoap dn service encoding:  literal
//gsoap dn service namespace: http://tempuri.org/
//gsoap dn schema namespace:  http://tempuri.org/
//gsoap dn schema form:       qualified

//gsoap ju service name:      JaxWsService
//gsoap ju service style:     document
//gsoap ju service encoding:  literal
//gsoap ju service namespace: http://example.org/jaxws
//gsoap ju schema namespace:  http://example.org/jaxws
//gsoap ju schema form:       unqualified

//gsoap rl service name:      RpcLiteralService
//gsoap rl service style:     rpc
//gsoap rl service encoding:  literal
//gsoap rl service namespace: urn:tssoap-rpclit
//gsoap rl schema namespace:  urn:tssoap-rpclit

//gsoap ax service name:      InventoryService
//gsoap ax service style:     rpc
//gsoap ax service encoding:  encoded
//gsoap ax service namespace: urn:tssoap-axis
//gsoap ax schema namespace:  urn:tssoap-axis
//gsoap m schema namespace:   urn:tssoap-axis-model

// clang-format on

#include <string>

#import "stlvector.h"

// --- document/literal wrapped ---------------------------------------------------------------

class dn__ArrayOfString {
 public:
  std::vector<std::string> string;
};

class dn__Person {
 public:
  std::string* Name;
  int Age;
  dn__ArrayOfString* Emails;
  std::string* Type;  // a reserved word of the host: the field is ws_type there
};

class dn__ArrayOfPerson {
 public:
  std::vector<dn__Person> Person;
};

struct dn__EchoStringResponse {
  std::string* EchoStringResult;
};
int dn__EchoString(std::string* text, struct dn__EchoStringResponse& response);
// The quotient is the result, the remainder an out value.
struct dn__DivideResponse {
  int DivideResult;
  int remainder;
};
int dn__Divide(int dividend, int divisor, struct dn__DivideResponse& response);
struct dn__EchoNamesResponse {
  dn__ArrayOfString* EchoNamesResult;
};
int dn__EchoNames(dn__ArrayOfString* names, struct dn__EchoNamesResponse& response);
struct dn__EchoPersonResponse {
  dn__Person* EchoPersonResult;
};
int dn__EchoPerson(dn__Person* person, struct dn__EchoPersonResponse& response);
// count people named "p1".."pN", aged 1..N.
struct dn__GetPeopleResponse {
  dn__ArrayOfPerson* GetPeopleResult;
};
int dn__GetPeople(int count, struct dn__GetPeopleResponse& response);
// Repeated elements without a wrapper (as JAX-WS writes a list).
struct dn__SumResponse {
  int SumResult;
};
int dn__Sum(std::vector<int> values, struct dn__SumResponse& response);

// --- document/literal wrapped, unqualified --------------------------------------------------

class ju__item {
 public:
  std::string* name;
  int count;
};

// The sum of the items' counts, in an element named "return".
struct ju__addItemsResponse {
  int return_;
};
int ju__addItems(std::vector<ju__item> arg0, struct ju__addItemsResponse& response);
// An item of the name, with a count of its length.
struct ju__findItemResponse {
  ju__item* return_;
};
int ju__findItem(std::string* arg0, struct ju__findItemResponse& response);

// --- rpc/literal ----------------------------------------------------------------------------

class rl__Point {
 public:
  int x;
  int y;
  std::string label;
};

class rl__IntList {
 public:
  std::vector<int> value;
};

int rl__concat(std::string first, std::string second, std::string& result);
// The point comes back moved: an in-out parameter and no result.
struct rl__movePointResponse {
  rl__Point* point;
};
int rl__movePoint(rl__Point* point, int dx, int dy, struct rl__movePointResponse& response);
struct rl__reverseResponse {
  rl__IntList* reversed;
};
int rl__reverse(rl__IntList* list, struct rl__reverseResponse& response);

// --- rpc/encoded ----------------------------------------------------------------------------

class m__Item {
 public:
  std::string name;
  int quantity;
  double price;
};

class ArrayOfItem {
 public:
  m__Item* __ptr;
  int __size;
};

class ArrayOfString {
 public:
  std::string* __ptr;
  int __size;
};

// count items of the category, named "<category>-1".. with quantity 1.. and price 0.5 each.
struct ax__getItemsResponse {
  ArrayOfItem* getItemsReturn;
};
int ax__getItems(std::string category, int count, struct ax__getItemsResponse& response);
// The total quantity of the items.
struct ax__totalQuantityResponse {
  int totalQuantityReturn;
};
int ax__totalQuantity(ArrayOfItem* items, struct ax__totalQuantityResponse& response);
// The tags in reverse order.
struct ax__reverseTagsResponse {
  ArrayOfString* reverseTagsReturn;
};
int ax__reverseTags(ArrayOfString* tags, struct ax__reverseTagsResponse& response);
