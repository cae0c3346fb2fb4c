// The operations of the services that tssoap generate's tests call: echoes and small sums, so
// that each answer shows what the request carried.
#include <algorithm>
#include <string>

#include "soapH.h"

// --- document/literal wrapped ---------------------------------------------------------------

int dn__EchoString(struct soap*, std::string* text, struct dn__EchoStringResponse& response) {
  response.EchoStringResult = text;
  return SOAP_OK;
}

int dn__Divide(struct soap* soap, int dividend, int divisor, struct dn__DivideResponse& response) {
  if (divisor == 0) return soap_sender_fault(soap, "division by zero", nullptr);
  response.DivideResult = dividend / divisor;
  response.remainder = dividend % divisor;
  return SOAP_OK;
}

int dn__EchoNames(struct soap*, dn__ArrayOfString* names, struct dn__EchoNamesResponse& response) {
  response.EchoNamesResult = names;
  return SOAP_OK;
}

int dn__EchoPerson(struct soap*, dn__Person* person, struct dn__EchoPersonResponse& response) {
  response.EchoPersonResult = person;
  return SOAP_OK;
}

int dn__GetPeople(struct soap* soap, int count, struct dn__GetPeopleResponse& response) {
  response.GetPeopleResult = soap_new_dn__ArrayOfPerson(soap);
  for (int i = 1; i <= count && i <= 100; ++i) {
    dn__Person person;
    person.soap_default(soap);
    person.Name = soap_new_std__string(soap);
    *person.Name = std::string("p").append(std::to_string(i));
    person.Age = i;
    response.GetPeopleResult->Person.push_back(person);
  }
  return SOAP_OK;
}

int dn__Sum(struct soap*, std::vector<int> values, struct dn__SumResponse& response) {
  response.SumResult = 0;
  for (int value : values) response.SumResult += value;
  return SOAP_OK;
}

// --- document/literal wrapped, unqualified --------------------------------------------------

int ju__addItems(struct soap*, std::vector<ju__item> arg0, struct ju__addItemsResponse& response) {
  response.return_ = 0;
  for (const ju__item& item : arg0) response.return_ += item.count;
  return SOAP_OK;
}

int ju__findItem(struct soap* soap, std::string* arg0, struct ju__findItemResponse& response) {
  response.return_ = soap_new_ju__item(soap);
  response.return_->name = arg0;
  response.return_->count = arg0 != nullptr ? static_cast<int>(arg0->size()) : 0;
  return SOAP_OK;
}

// --- rpc/literal ----------------------------------------------------------------------------

int rl__concat(struct soap*, std::string first, std::string second, std::string& result) {
  result = first + second;
  return SOAP_OK;
}

int rl__movePoint(struct soap* soap, rl__Point* point, int dx, int dy,
                  struct rl__movePointResponse& response) {
  response.point = point != nullptr ? point : soap_new_rl__Point(soap);
  response.point->x += dx;
  response.point->y += dy;
  return SOAP_OK;
}

int rl__reverse(struct soap* soap, rl__IntList* list, struct rl__reverseResponse& response) {
  response.reversed = list != nullptr ? list : soap_new_rl__IntList(soap);
  std::reverse(response.reversed->value.begin(), response.reversed->value.end());
  return SOAP_OK;
}

// --- rpc/encoded ----------------------------------------------------------------------------

int ax__getItems(struct soap* soap, std::string category, int count,
                 struct ax__getItemsResponse& response) {
  count = std::clamp(count, 0, 100);
  response.getItemsReturn = soap_new_ArrayOfItem(soap);
  response.getItemsReturn->__size = count;
  response.getItemsReturn->__ptr = soap_new_m__Item(soap, count > 0 ? count : 1);
  for (int i = 0; i < count; ++i) {
    m__Item& item = response.getItemsReturn->__ptr[i];
    item.name = category + "-" + std::to_string(i + 1);
    item.quantity = i + 1;
    item.price = 0.5;
  }
  return SOAP_OK;
}

int ax__totalQuantity(struct soap*, ArrayOfItem* items,
                      struct ax__totalQuantityResponse& response) {
  response.totalQuantityReturn = 0;
  for (int i = 0; items != nullptr && i < items->__size; ++i) {
    response.totalQuantityReturn += items->__ptr[i].quantity;
  }
  return SOAP_OK;
}

int ax__reverseTags(struct soap*, ArrayOfString* tags, struct ax__reverseTagsResponse& response) {
  response.reverseTagsReturn = tags;
  if (tags != nullptr) std::reverse(tags->__ptr, tags->__ptr + tags->__size);
  return SOAP_OK;
}
