// The object path: how a host structure object (or an array of them) travels, described by the
// proxy class's type variables ("__tns__address" -> "Address(xsd:string street, ...)@tns").
// The drivers hand over here whenever the host value is an object.
#pragma once

#include <string>

#include "host/host_interfaces.h"
#include "types/conversion_context.h"

namespace tssoap {

// The structure class of typeName: the class named ToHostClassName(typeName) in the structure
// group of that name. A type without one can't be mapped (raises the mapping failure).
HostClass StructClassOf(IHostSession& session, const std::string& typeName);

void ObjectOut(ConversionContext& context);
void ObjectIn(ResponseContext& context);
void EncodedObjectsOut(ConversionContext& context);
void RepeatedObjectsOut(ConversionContext& context);
void WrappedObjectsOut(ConversionContext& context);
// Encoded and wrapped arrays of objects are read the same way.
void ObjectItemsIn(ResponseContext& context);
void RepeatedObjectsIn(ResponseContext& context);

}  // namespace tssoap
