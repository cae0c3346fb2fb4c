#include "call/struct_objects.h"

#include <memory>
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
using SharedDescription = std::shared_ptr<const TypeDescription>;

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
SharedDescription ReadTypeDescription(IHostSession& session, HostObject proxy,
                                      const std::string& typeName) {
  std::string text;
  if (!CopyProxyVariable(session, proxy, "__" + ToHostClassName(typeName), text)) {
    ThrowMappingFailure(typeName);
  }
  const size_t open = text.find('(');
  const size_t at = text.find('@');
  if (open == std::string::npos || at == std::string::npos) ThrowMappingFailure(typeName);
  auto description = std::make_shared<TypeDescription>();
  if (!CopyProxyVariable(session, proxy, std::string_view(text).substr(at + 1), description->ns)) {
    ThrowMappingFailure(typeName);
  }
  description->localName.assign(text, 0, open);
  description->fields = ParameterWalker(proxy, session).ReadStructFields(text.substr(open));
  return description;
}

// A new instance of the structure class of typeName.
HostObject NewStructObject(IHostSession& session, const std::string& typeName) {
  const HostObject instance = session.NewObject(StructClassOf(session, typeName));
  if (instance == 0) ThrowMappingFailure(typeName);
  return instance;
}

// One structure instance with its type's description: what the field walks need to write it to an
// element or fill it from one. The items of an array share one description; the session and the
// handles stay the host's.
class StructDescriptor {
 public:
  StructDescriptor() = default;
  StructDescriptor(HostObject proxy, IHostSession& session, SharedDescription description,
                   HostObject instance, bool isNull = false)
      : proxy_(proxy),
        session_(&session),
        description_(std::move(description)),
        instance_(isNull ? 0 : instance) {}

  // A null object goes out as a nil element, the way a null simple value does.
  bool IsNull() const { return instance_ == 0; }

  void SetTypeAttribute(SOAPQName& attribute) const {
    attribute.Set(description_->localName.c_str(), description_->ns.c_str());
  }

  // The fields as children of parameter, in field-list order; a null instance as a nil element.
  void Write(SOAPParameter& parameter) const {
    if (IsNull()) {
      parameter.SetNull(true);
      return;
    }
    const NestingLevel level(description_->localName);
    ParameterWalker(proxy_, *session_).WalkStructOut(parameter, instance_, description_->fields);
  }

  // The fields found among the children of parameter; the others keep their values.
  void Read(const SOAPParameter& parameter) const {
    const NestingLevel level(description_->localName);
    ParameterWalker(proxy_, *session_).WalkStructIn(parameter, instance_, description_->fields);
  }

 private:
  HostObject proxy_ = 0;
  IHostSession* session_ = nullptr;
  SharedDescription description_;
  HostObject instance_ = 0;
};

// The items of a host array of structures on their way into an encoded array, with the item
// type's description for the array's arrayType attribute and for every item.
struct StructDescriptorArray {
  explicit StructDescriptorArray(const ConversionContext& context)
      : record(context.record),
        elementName(context.elementName),
        description(ReadTypeDescription(context.session, context.proxy, context.typeName)) {}

  SOAPGrowArray<StructDescriptor> items;
  HostValueRecord& record;
  std::string elementName;
  SharedDescription description;
};

// Item index of a host array, from 1, read into a record of its own.
HostValueRecord ReadObjectItem(IHostSession& session, HostArray array, int32_t index) {
  HostValueRecord item{};
  HostBool isNull = 0;
  item.value.handle = session.GetObjectArrayItem(array, &index, &isNull);
  item.isNull = isNull != 0 ? 1 : 0;
  item.isObject = 1;
  return item;
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

// The description of context's type, read at its first use and kept for the items behind it.
const SharedDescription& DescriptionOf(const ConversionContext& context, SharedDescription& kept) {
  if (!kept) kept = ReadTypeDescription(context.session, context.proxy, context.typeName);
  return kept;
}

void WriteObject(ConversionContext& context, SharedDescription& kept) {
  const HostValueRecord& record = context.record;
  // The description is read first, so that a type the proxy doesn't know fails also for a null.
  const StructDescriptor descriptor(context.proxy, context.session, DescriptionOf(context, kept),
                                    record.value.handle, record.isNull != 0);
  SOAPParameter& parameter = context.parameter;
  if (descriptor.IsNull()) {
    descriptor.Write(parameter);
    return;
  }
  parameter.ClearValue();
  descriptor.SetTypeAttribute(parameter.AddAttribute(Vocabulary().type));
  descriptor.Write(parameter);
}

void ReadObject(ConversionContext& context, SharedDescription& kept) {
  HostValueRecord& record = context.record;
  if (record.value.handle == 0)
    record.value.handle = NewStructObject(context.session, context.typeName);
  const StructDescriptor descriptor(context.proxy, context.session, DescriptionOf(context, kept),
                                    record.value.handle);
  descriptor.Read(context.parameter);
  // The instance now holds what the response said: a new value wins over a null snapshot, or
  // writing the record back would null the field that was just filled.
  record.isNull = 0;
  record.isObject = 1;
}

// Each item of the host array in an element that addItemElement makes, with its type attribute.
template <typename AddItemElementFn>
void WriteObjectItems(ConversionContext& context, AddItemElementFn addItemElement) {
  const OutgoingArrayItems items(context.session, context.record, kBoundedOut);
  SharedDescription kept;
  for (int32_t index = 1; index <= items.Length(); ++index) {
    HostValueRecord item = ReadObjectItem(context.session, items.Array(), index);
    ConversionContext itemContext = context.ForItem(addItemElement(), item);
    WriteObject(itemContext, kept);
  }
}

}  // namespace

void ObjectOut(ConversionContext& context) {
  SharedDescription kept;
  WriteObject(context, kept);
}

void ObjectIn(ConversionContext& context) {
  SharedDescription kept;
  ReadObject(context, kept);
}

void EncodedObjectsOut(ConversionContext& context) {
  IHostSession& session = context.session;
  StructDescriptorArray array(context);
  const OutgoingArrayItems items(session, array.record, kBoundedOut);
  if (items.Length() > 0) array.items.Reserve(static_cast<uint32_t>(items.Length()));
  for (int32_t index = 1; index <= items.Length(); ++index) {
    const HostValueRecord item = ReadObjectItem(session, items.Array(), index);
    array.items.Add(StructDescriptor(context.proxy, session, array.description, item.value.handle,
                                     item.isNull != 0));
  }
  WriteEncodedArrayHead(context.parameter, array.description->localName.c_str(),
                        array.description->ns.c_str(), array.items.Size());
  // The items carry neither a namespace nor a type attribute of their own: arrayType says it.
  for (const StructDescriptor& item : array.items) {
    item.Write(context.parameter.AddParameter(array.elementName.c_str()));
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

void ObjectItemsIn(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  // Every child is an item, whatever its name; array attributes and positions have no say here,
  // and a nil child gives an instance with its fields at their defaults.
  int32_t index = 1;
  SharedDescription kept;
  for (const SOAPParameter* child : context.parameter.GetParams()) {
    const HostObject instance = NewStructObject(session, context.typeName);
    StructDescriptor(context.proxy, session, DescriptionOf(context, kept), instance).Read(*child);
    session.SetObjectArrayItem(handle, &index, instance);
    ++index;
  }
}

void RepeatedObjectsIn(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  const HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedIn);
  int32_t index = 0;
  SharedDescription kept;
  const auto readItem = [&](const SOAPParameter& child) {
    HostValueRecord item{};
    ConversionContext itemContext = context.ForItem(const_cast<SOAPParameter&>(child), item);
    ReadObject(itemContext, kept);
    ++index;
    session.SetObjectArrayItem(handle, &index, item.value.handle);
  };
  ForEachRepeatedElement(*context.parentParameter, context.parameter.GetName(), readItem);
}

}  // namespace tssoap
