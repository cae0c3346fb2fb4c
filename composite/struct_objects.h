// The object path: how a host structure object (or an array of them) travels, described by the
// proxy class's type variables ("__tns__address" -> "Address(xsd:string street, ...)@tns").
// The drivers hand over here whenever the host value is an object.
#pragma once

#include "types/conversion_context.h"

namespace tssoap {

int ObjectOut(ConversionContext& context);
int ObjectIn(ConversionContext& context);
int EncodedObjectsOut(ConversionContext& context);
int RepeatedObjectsOut(ConversionContext& context);
int WrappedObjectsOut(ConversionContext& context);
// Encoded and wrapped arrays of objects are read the same way.
int ObjectItemsIn(ConversionContext& context);
int RepeatedObjectsIn(ConversionContext& context);

}  // namespace tssoap
