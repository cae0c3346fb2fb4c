#include "composite/struct_objects.h"

#include "support/values/soap_exception.h"

namespace tssoap {

// Placeholder until structures land: every object path refuses with the mapping failure.
namespace {
int Refuse(ConversionContext& context) {
  throw SOAPException("Can't map the XML data type: %s", context.typeName.c_str());
}
}  // namespace

int ObjectOut(ConversionContext& context) { return Refuse(context); }
int ObjectIn(ConversionContext& context) { return Refuse(context); }
int EncodedObjectsOut(ConversionContext& context) { return Refuse(context); }
int RepeatedObjectsOut(ConversionContext& context) { return Refuse(context); }
int WrappedObjectsOut(ConversionContext& context) { return Refuse(context); }
int ObjectItemsIn(ConversionContext& context) { return Refuse(context); }
int RepeatedObjectsIn(ConversionContext& context) { return Refuse(context); }

}  // namespace tssoap
