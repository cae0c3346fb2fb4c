#include "call/struct_objects.h"

#include <optional>
#include <string>

#include "call/parameter_walker.h"
#include "host/proxy_variables.h"
#include "support/name_mapping.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_grow_array.h"
#include "types/host_array_items.h"
#include "types/type_drivers.h"

namespace tssoap {

namespace {

constexpr const char* kBoundedOut = "SoapCLient Error: Can't support Bounded array";
constexpr const char* kBoundedIn = "SoapClient Error: Can't support Bounded array";

// Structures nest by plain recursion through the field walks, so a recursive type lets a response,
// or a cycle among the host's objects, nest as deep as it likes. The depth is bounded here, far
// beyond any real structure and well before the calling thread's stack would be.
constexpr int kMaxNesting = 256;
thread_local int nesting = 0;

class NestingLevel {
 public:
  explicit NestingLevel(const std::string& typeLocalName) {
    if (nesting >= kMaxNesting) {
      throw SOAPException("Structures nested deeper than %d levels, at the type %s", kMaxNesting,
                          typeLocalName.c_str());
    }
    ++nesting;
  }
  ~NestingLevel() { --nesting; }
  NestingLevel(const NestingLevel&) = delete;
  NestingLevel& operator=(const NestingLevel&) = delete;
};

// What the proxy class tells of a complex type, from its variable "__" + host class name:
// "Address(xsd:string street, ...)@tns", and the namespace held by the variable behind the "@".
// Read once per value, or once per array for all its items.
struct TypeDescription {
  std::string localName;  // in front of the first "("
  std::string ns;
  StructFields fields;  // the field list from the first "(" on
};

// The text of a proxy string variable, copied (the host's text changes with the next host call);
// false when the proxy lacks the variable or holds a null in it.
bool CopyProxyVariable(IHostSession& session, HostObject proxy, std::string_view name,
                       std::string& text) {
  try {
    text = ReadProxyVariable(session, proxy, name);
  } catch (const SOAPException&) {
    return false;
  }
  return true;
}

// Read anew for every value: the proxy's variables are the only source, and nothing is kept
// between calls. A type the proxy doesn't describe (no variable, no "(" or "@", no namespace
// variable) can't be mapped, and says so with the declared type's name.
TypeDescription ReadTypeDescription(IHostSession& session, HostObject proxy,
                                    const std::string& typeName) {
  std::string text;
  if (!CopyProxyVariable(session, proxy, "__" + ToHostClassName(typeName), text)) {
    ThrowMappingFailure(typeName);
  }
  const size_t open = text.find('(');
  const size_t at = text.find('@');
  if (open == std::string::npos || at == std::string::npos) ThrowMappingFailure(typeName);
  TypeDescription description;
  if (!CopyProxyVariable(session, proxy, std::string_view(text).substr(at + 1), description.ns)) {
    ThrowMappingFailure(typeName);
  }
  description.localName.assign(text, 0, open);
  description.fields = ParameterWalker(proxy, session).ReadStructFields(text.substr(open));
  return description;
}

// The fields of instance as children of parameter, in field-list order, or from the children of
// parameter into instance (the fields not found keep their values).
void WriteFields(const ConversionContext& context, const TypeDescription& description,
                 SOAPParameter& parameter, HostObject instance) {
  const NestingLevel level(description.localName);
  ParameterWalker(context.proxy, context.session)
      .WalkStructOut(parameter, instance, description.fields);
}

void ReadFields(const ResponseContext& context, const TypeDescription& description,
                const SOAPParameter& parameter, HostObject instance) {
  const NestingLevel level(description.localName);
  ParameterWalker(context.proxy, context.session)
      .WalkStructIn(parameter, instance, description.fields);
}

// Item index of a host array, from 1: its instance, 0 for a null item.
HostObject ReadObjectItem(IHostSession& session, HostArray array, int32_t index) {
  HostBool isNull = 0;
  const HostObject instance = session.GetObjectArrayItem(array, &index, &isNull);
  return isNull != 0 ? 0 : instance;
}

}  // namespace

HostClass StructClassOf(IHostSession& session, const std::string& typeName) {
  const std::string className = ToHostClassName(typeName);
  const HostGroup group = session.FindGroup(className.c_str(), kGroupStructure);
  const HostClass cls = group != 0 ? session.FindClass(group, className.c_str()) : 0;
  if (cls == 0) ThrowMappingFailure(typeName);
  return cls;
}

namespace {

// What the values of one parameter or field, or the items of one array, share: their type's
// description and structure class, each read at its first use.
struct KeptType {
  std::optional<TypeDescription> description;
  HostClass cls = 0;
};

template <typename Context>
const TypeDescription& DescriptionOf(const Context& context, KeptType& kept) {
  if (!kept.description) {
    kept.description = ReadTypeDescription(context.session, context.proxy, context.typeName);
  }
  return *kept.description;
}

// A new instance of the structure class of context's type.
HostObject NewStructObject(const ResponseContext& context, KeptType& kept) {
  if (kept.cls == 0) kept.cls = StructClassOf(context.session, context.typeName);
  const HostObject instance = context.session.NewObject(kept.cls);
  if (instance == 0) ThrowMappingFailure(context.typeName);
  return instance;
}

// A null object goes out as a nil element, the way a null simple value does; another with its type
// attribute and its fields.
void WriteObject(ConversionContext& context, KeptType& kept) {
  const HostValueRecord& record = context.record;
  // The description is read first, so that a type the proxy doesn't know fails also for a null.
  const TypeDescription& description = DescriptionOf(context, kept);
  SOAPParameter& parameter = context.parameter;
  if (record.isNull != 0 || record.value.handle == 0) {
    parameter.SetNull(true);
    return;
  }
  parameter.ClearValue();
  // The items of an array share one stored attribute table.
  parameter.SetAttribute(Vocabulary().type, description.localName.c_str(), description.ns.c_str());
  WriteFields(context, description, parameter, record.value.handle);
}

void ReadObject(ResponseContext& context, KeptType& kept) {
  HostValueRecord& record = context.record;
  if (record.value.handle == 0) record.value.handle = NewStructObject(context, kept);
  ReadFields(context, DescriptionOf(context, kept), context.parameter, record.value.handle);
  // The instance now holds what the response said: a new value wins over a null snapshot, or
  // writing the record back would null the field that was just filled.
  record.isNull = 0;
  record.isObject = 1;
}

// Each item of the host array in an element that addItemElement makes, with its type attribute.
template <typename AddItemElementFn>
void WriteObjectItems(ConversionContext& context, AddItemElementFn addItemElement) {
  const OutgoingArrayItems items(context.session, context.record, kBoundedOut);
  KeptType kept;
  for (int32_t index = 1; index <= items.Length(); ++index) {
    HostValueRecord item{};
    item.isObject = 1;
    item.value.handle = ReadObjectItem(context.session, items.Array(), index);
    ConversionContext itemContext = context.ForItem(addItemElement(), item);
    WriteObject(itemContext, kept);
  }
}

}  // namespace

void ObjectOut(ConversionContext& context) {
  KeptType kept;
  WriteObject(context, kept);
}

void ObjectIn(ResponseContext& context) {
  KeptType kept;
  ReadObject(context, kept);
}

void EncodedObjectsOut(ConversionContext& context) {
  IHostSession& session = context.session;
  const TypeDescription description = ReadTypeDescription(session, context.proxy, context.typeName);
  // Every item is read before the parameter is touched.
  const OutgoingArrayItems items(session, context.record, kBoundedOut);
  SOAPGrowArray<HostObject> instances;
  if (items.Length() > 0) instances.Reserve(static_cast<uint32_t>(items.Length()));
  for (int32_t index = 1; index <= items.Length(); ++index) {
    instances.Add(ReadObjectItem(session, items.Array(), index));
  }
  WriteEncodedArrayHead(context.parameter, description.localName.c_str(), description.ns.c_str(),
                        instances.Size());
  // The items carry neither a namespace nor a type attribute of their own: arrayType says it.
  for (const HostObject instance : instances) {
    SOAPParameter& item = context.parameter.AddParameter(context.elementName.c_str());
    if (instance == 0) {
      item.SetNull(true);
    } else {
      WriteFields(context, description, item, instance);
    }
  }
}

void RepeatedObjectsOut(ConversionContext& context) {
  if (!HasArray(context.record)) return;
  // parameter only carries the name: each item is an element of its own under the parent.
  SOAPParameter& parent = *context.parentParameter;
  const std::string name = context.parameter.GetName().GetName().CStr();
  WriteObjectItems(context, [&]() -> SOAPParameter& {
    return AddItemElement(parent, name.c_str(), parent.GetName().GetNamespace().Str());
  });
}

void WrappedObjectsOut(ConversionContext& context) {
  // A plain wrapper without attributes; each item in the item namespace.
  WriteObjectItems(context, [&]() -> SOAPParameter& {
    return AddItemElement(context.parameter, context.elementName.c_str(),
                          context.elementNamespace.c_str());
  });
}

void ObjectItemsIn(ResponseContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  // Every child is an item, whatever its name; array attributes and positions have no say here,
  // and a nil child gives an instance with its fields at their defaults.
  int32_t index = 1;
  KeptType kept;
  for (const SOAPParameter* child : context.parameter.GetParams()) {
    const HostObject instance = NewStructObject(context, kept);
    ReadFields(context, DescriptionOf(context, kept), *child, instance);
    session.SetObjectArrayItem(handle, &index, instance);
    ++index;
  }
}

void RepeatedObjectsIn(ResponseContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  const HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedIn);
  int32_t index = 0;
  KeptType kept;
  const auto readItem = [&](const SOAPParameter& child) {
    HostValueRecord item{};
    ResponseContext itemContext = context.ForItem(child, item);
    ReadObject(itemContext, kept);
    ++index;
    session.SetObjectArrayItem(handle, &index, item.value.handle);
  };
  ForEachRepeatedElement(*context.parentParameter, context.parameter.GetName(), readItem);
}

}  // namespace tssoap
