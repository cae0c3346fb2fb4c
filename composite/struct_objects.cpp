#include "composite/struct_objects.h"

#include <cstdio>
#include <string>

#include "call/parameter_walker.h"
#include "call/proxy_variables.h"
#include "composite/name_mapping.h"
#include "support/soap_vocabulary.h"
#include "support/values/soap_exception.h"
#include "support/values/soap_grow_array.h"
#include "support/values/soap_text.h"

namespace tssoap {

namespace {

constexpr const char* kBoundedOut = "SoapCLient Error: Can't support Bounded array";
constexpr const char* kBoundedIn = "SoapClient Error: Can't support Bounded array";

[[noreturn]] void ThrowMappingFailure(const std::string& typeName) {
  throw SOAPException("Can't map the XML data type: %s", typeName.c_str());
}

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
struct TypeDescription {
  std::string localName;  // in front of the first "("
  std::string ns;
  std::string fieldList;  // from the first "(" on
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

// Read anew for every instance: the proxy's variables are the only source, and nothing is kept
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
  description.fieldList.assign(text, open);
  return description;
}

// A new instance of the structure class of typeName. A type without a class in a structure group
// can't be mapped either.
HostObject NewStructObject(IHostSession& session, const std::string& typeName) {
  const std::string className = ToHostClassName(typeName);
  const HostGroup group = session.FindGroup(className.c_str(), kGroupStructure);
  const HostClass cls = group != 0 ? session.FindClass(group, className.c_str()) : 0;
  if (cls == 0) ThrowMappingFailure(typeName);
  const HostObject instance = session.NewObject(cls);
  if (instance == 0) ThrowMappingFailure(typeName);
  return instance;
}

// One structure instance with its type's description: what the field walks need to write it to an
// element or fill it from one. Copied into arrays whole, strings and all; the session and the
// handles stay the host's.
class StructDescriptor {
 public:
  StructDescriptor() = default;
  StructDescriptor(HostObject proxy, IHostSession& session, const std::string& typeName,
                   HostObject instance, bool isNull = false)
      : proxy_(proxy),
        session_(&session),
        description_(ReadTypeDescription(session, proxy, typeName)),
        instance_(isNull ? 0 : instance) {}

  // A null object goes out as a nil element, the way a null simple value does.
  bool IsNull() const { return instance_ == 0; }

  void SetTypeAttribute(SOAPQName& attribute) const {
    attribute.Set(description_.localName.c_str(), description_.ns.c_str());
  }

  // The fields as children of parameter, in field-list order; a null instance as a nil element.
  void Write(SOAPParameter& parameter) const {
    if (IsNull()) {
      parameter.SetNull(true);
      return;
    }
    const NestingLevel level(description_.localName);
    ParameterWalker(proxy_, *session_).WalkStructOut(parameter, instance_, description_.fieldList);
  }

  // The fields found among the children of parameter; the others keep their values.
  void Read(const SOAPParameter& parameter) const {
    const NestingLevel level(description_.localName);
    ParameterWalker(proxy_, *session_).WalkStructIn(parameter, instance_, description_.fieldList);
  }

 private:
  HostObject proxy_ = 0;
  IHostSession* session_ = nullptr;
  TypeDescription description_;
  HostObject instance_ = 0;
};

// The items of a host array of structures on their way into an encoded array, with the item
// type's name for the array's arrayType attribute.
struct StructDescriptorArray {
  explicit StructDescriptorArray(const ConversionContext& context)
      : record(context.record), elementName(context.elementName) {
    TypeDescription description =
        ReadTypeDescription(context.session, context.proxy, context.typeName);
    typeNamespace = std::move(description.ns);
    typeLocalName = std::move(description.localName);
  }

  SOAPGrowArray<StructDescriptor> items;
  HostValueRecord& record;
  std::string typeNamespace;
  std::string typeLocalName;
  std::string elementName;
};

// The info of a host array, given back on every way out.
class HeldArrayInfo {
 public:
  HeldArrayInfo(IHostSession& session, HostArray array)
      : session_(session), info_(session.GetArrayInfo(array)) {}
  ~HeldArrayInfo() {
    if (info_ != nullptr) session_.ReleaseArrayInfo(info_);
  }
  HeldArrayInfo(const HeldArrayInfo&) = delete;
  HeldArrayInfo& operator=(const HeldArrayInfo&) = delete;

  // Host arrays are walked as flat lists: a bounded (possibly multi-dimensional) one is refused.
  void RefuseBounded(const char* message) const {
    if (info_ != nullptr && info_->arrayForm == 0) throw SOAPException("%s", message);
  }

 private:
  IHostSession& session_;
  HostArrayInfo* info_;
};

bool HasArray(const HostValueRecord& record) {
  return record.isNull == 0 && record.value.handle != 0;
}

// Item index of a host array, from 1, read into a record of its own.
HostValueRecord ReadObjectItem(IHostSession& session, HostArray array, int32_t index) {
  HostValueRecord item{};
  HostBool isNull = 0;
  item.value.handle = session.GetObjectArrayItem(array, &index, &isNull);
  item.isNull = isNull != 0 ? 1 : 0;
  item.isObject = 1;
  return item;
}

ConversionContext ItemContext(const ConversionContext& context, SOAPParameter& parameter,
                              HostValueRecord& record) {
  return ConversionContext{parameter,
                           context.session,
                           context.proxy,
                           context.typeName,
                           record,
                           context.elementName,
                           context.elementNamespace,
                           context.parentParameter,
                           nullptr};
}

// Both absent or empty counts as equal.
bool SameText(const SOAPString& a, const SOAPString& b) {
  if (a.Length() == 0 && b.Length() == 0) return true;
  return SOAPText::Compare(a.Str(), b.Str()) == 0;
}

bool SameName(const SOAPQName& a, const SOAPQName& b) {
  return SameText(a.GetName(), b.GetName()) && SameText(a.GetNamespace(), b.GetNamespace());
}

}  // namespace

int ObjectOut(ConversionContext& context) {
  const HostValueRecord& record = context.record;
  // The description is read first, so that a type the proxy doesn't know fails also for a null.
  const StructDescriptor descriptor(context.proxy, context.session, context.typeName,
                                    record.value.handle, record.isNull != 0);
  SOAPParameter& parameter = context.parameter;
  if (descriptor.IsNull()) {
    descriptor.Write(parameter);
    return 0;
  }
  parameter.ClearValue();
  descriptor.SetTypeAttribute(parameter.AddAttribute(Vocabulary().type));
  descriptor.Write(parameter);
  return 0;
}

int ObjectIn(ConversionContext& context) {
  HostValueRecord& record = context.record;
  if (record.value.handle == 0)
    record.value.handle = NewStructObject(context.session, context.typeName);
  const StructDescriptor descriptor(context.proxy, context.session, context.typeName,
                                    record.value.handle);
  descriptor.Read(context.parameter);
  // The instance now holds what the response said: a new value wins over a null snapshot, or
  // writing the record back would null the field that was just filled.
  record.isNull = 0;
  record.isObject = 1;
  return 0;
}

int EncodedObjectsOut(ConversionContext& context) {
  IHostSession& session = context.session;
  StructDescriptorArray array(context);
  if (HasArray(array.record)) {
    const HostArray handle = array.record.value.handle;
    HeldArrayInfo info(session, handle);
    info.RefuseBounded(kBoundedOut);
    const int32_t length = session.GetArrayLength(handle);
    array.items.Reserve(length > 0 ? static_cast<uint32_t>(length) : 0);
    for (int32_t index = 1; index <= length; ++index) {
      const HostValueRecord item = ReadObjectItem(session, handle, index);
      array.items.Add(StructDescriptor(context.proxy, session, context.typeName, item.value.handle,
                                       item.isNull != 0));
    }
  }

  SOAPParameter& parameter = context.parameter;
  const SoapVocabulary& vocabulary = Vocabulary();
  parameter.ClearValue();
  parameter.AddAttribute(vocabulary.type)
      .Set(vocabulary.Array.GetName().Str(), vocabulary.Array.GetNamespace().Str());
  SOAPQName& arrayType = parameter.AddAttribute(vocabulary.arrayType);
  arrayType.Set(array.typeLocalName.c_str(), array.typeNamespace.c_str());
  char count[32];
  const int countLength =
      std::snprintf(count, sizeof count, "[%d]", static_cast<int>(array.items.Size()));
  arrayType.GetName().Append(count, static_cast<uint32_t>(countLength));
  parameter.SetIsStruct();
  // The items carry neither a namespace nor a type attribute of their own: arrayType says it.
  for (const StructDescriptor& item : array.items) {
    item.Write(parameter.AddParameter(array.elementName.c_str()));
  }
  return 0;
}

int RepeatedObjectsOut(ConversionContext& context) {
  IHostSession& session = context.session;
  if (!HasArray(context.record)) return 0;
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedOut);
  const int32_t length = session.GetArrayLength(handle);
  // parameter only carries the name: each item is an element of its own under the parent, with
  // its own type attribute.
  SOAPParameter& parent = *context.parentParameter;
  const std::string name = context.parameter.GetName().GetName().CStr();
  for (int32_t index = 1; index <= length; ++index) {
    HostValueRecord item = ReadObjectItem(session, handle, index);
    SOAPParameter& child = parent.AddParameter("");
    child.SetName(name.c_str(), parent.GetName().GetNamespace().Str());
    ConversionContext itemContext = ItemContext(context, child, item);
    ObjectOut(itemContext);
  }
  return 0;
}

int WrappedObjectsOut(ConversionContext& context) {
  IHostSession& session = context.session;
  if (!HasArray(context.record)) return 0;
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedOut);
  const int32_t length = session.GetArrayLength(handle);
  // A plain wrapper without attributes; each item in the item namespace with its type attribute.
  for (int32_t index = 1; index <= length; ++index) {
    HostValueRecord item = ReadObjectItem(session, handle, index);
    SOAPParameter& child = context.parameter.AddParameter("item");
    child.SetName(context.elementName.c_str(), context.elementNamespace.c_str());
    ConversionContext itemContext = ItemContext(context, child, item);
    ObjectOut(itemContext);
  }
  return 0;
}

int ObjectItemsIn(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  // Every child is an item, whatever its name; array attributes and positions have no say here,
  // and a nil child gives an instance with its fields at their defaults.
  int32_t index = 1;
  for (const SOAPParameter* child : context.parameter.GetParams()) {
    const HostObject instance = NewStructObject(session, context.typeName);
    StructDescriptor(context.proxy, session, context.typeName, instance).Read(*child);
    session.SetObjectArrayItem(handle, &index, instance);
    ++index;
  }
  return 0;
}

int RepeatedObjectsIn(ConversionContext& context) {
  IHostSession& session = context.session;
  const HostArray handle = context.record.value.handle;
  HeldArrayInfo info(session, handle);
  info.RefuseBounded(kBoundedIn);
  const SOAPParameter& parent = *context.parentParameter;
  const SOAPQName& wanted = context.parameter.GetName();
  const SOAPParameter::Children& children = parent.GetParams();
  int32_t index = 0;
  // The walk ends when it runs past the last child; a failing item ends it early, silently, and
  // the items in front of it stay in the host array.
  try {
    for (uint32_t position = 0;; ++position) {
      if (position >= children.Size()) {
        throw SOAPException(
            "Array index out of bounds while trying to access  element %u (out of %u) on "
            "parameter %s.",
            position, children.Size(), parent.GetName().GetName().CStr());
      }
      const SOAPParameter& child = *children[position];
      if (!SameName(child.GetName(), wanted)) continue;
      HostValueRecord item{};
      ConversionContext itemContext = ItemContext(context, const_cast<SOAPParameter&>(child), item);
      ObjectIn(itemContext);
      ++index;
      session.SetObjectArrayItem(handle, &index, item.value.handle);
    }
  } catch (const SOAPException&) {
  }
  return 0;
}

}  // namespace tssoap
