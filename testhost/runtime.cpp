// The reference host's own side: declaring classes, making objects and values, calling the
// extension's objects and proxies, and the bookkeeping that tests read.
#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "testhost/model.h"

namespace testhost {

std::span<const SimpleTypeName> SimpleTypeNames() {
  static constexpr SimpleTypeName kNames[] = {
      {"int", kHostInt, true},           {"long", kHostLong, true},
      {"real", kHostReal, true},         {"double", kHostDouble, true},
      {"decimal", kHostDecimal, true},   {"string", kHostString, true},
      {"boolean", kHostBoolean, true},   {"any", kHostAny, true},
      {"uint", kHostUint, true},         {"ulong", kHostUlong, true},
      {"blob", kHostBlob, true},         {"date", kHostDate, true},
      {"time", kHostTime, true},         {"datetime", kHostDateTime, true},
      {"longlong", kHostLongLong, true}, {"integer", kHostInt, false},
      {"dec", kHostDecimal, false},      {"unsignedinteger", kHostUint, false},
      {"unsignedint", kHostUint, false}, {"unsignedlong", kHostUlong, false},
  };
  return kNames;
}

namespace {

ParameterDecl TypeDecl(std::string_view type) {
  ParameterDecl decl;
  for (const SimpleTypeName& known : SimpleTypeNames()) {
    if (known.name == type) {
      decl.kind = known.kind;
      return decl;
    }
  }
  decl.isObject = true;
  decl.className = std::string(type);
  return decl;
}

std::string Lower(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lowered;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

std::vector<std::string_view> Words(std::string_view text) {
  std::vector<std::string_view> words;
  while (!(text = Trim(text)).empty()) {
    size_t blank = text.find(' ');
    words.push_back(text.substr(0, blank));
    if (blank == std::string_view::npos) break;
    text.remove_prefix(blank);
  }
  return words;
}

// The instance variables of the runtime's class runtimeerror; "text" is not the first, so that an
// extension that assumed field ids would be caught.
std::vector<FieldSpec> RuntimeErrorFields() {
  return {
      FieldSpec{"number", kHostLong, false, false, "", false, 0, std::nullopt},
      FieldSpec{"text", kHostString, false, false, "", false, 0, std::nullopt},
      FieldSpec{"class", kHostString, false, false, "", false, 0, std::nullopt},
      FieldSpec{"routinename", kHostString, false, false, "", false, 0, std::nullopt},
      FieldSpec{"line", kHostLong, false, false, "", false, 0, std::nullopt},
      FieldSpec{"objectname", kHostString, false, false, "", false, 0, std::nullopt},
  };
}

}  // namespace

// Reads the class description as the runtime does: "class NAME from PARENT", "function TYPE
// NAME(PARAMETERS)", "end class", one per line. Anything else is an error of the extension.
class Runtime::ClassDescriptionReader {
 public:
  struct ClassText {
    std::string name;
    std::string parent;
    std::vector<FunctionDecl> functions;
  };

  static std::vector<ClassText> Read(const char* description) {
    if (description == nullptr) throw std::runtime_error("class description is null");
    std::string_view text(description);
    if (text.empty() || text.back() != '\n') {
      throw std::runtime_error("class description doesn't end in a line feed");
    }
    std::vector<ClassText> classes;
    bool inClass = false;
    int lineNumber = 0;
    while (!text.empty()) {
      size_t end = text.find('\n');
      std::string_view line = text.substr(0, end);
      text.remove_prefix(end + 1);
      ++lineNumber;
      std::vector<std::string_view> words = Words(line);
      if (!inClass && words.size() == 4 && words[0] == "class" && words[2] == "from") {
        classes.push_back({std::string(words[1]), std::string(words[3]), {}});
        inClass = true;
      } else if (inClass && words.size() == 2 && words[0] == "end" && words[1] == "class") {
        inClass = false;
      } else if (inClass && words.size() >= 3 && words[0] == "function") {
        classes.back().functions.push_back(ReadFunction(line, lineNumber));
      } else {
        throw std::runtime_error("class description line " + std::to_string(lineNumber) +
                                 " not understood: " + std::string(line));
      }
    }
    if (inClass) throw std::runtime_error("class description ends inside a class");
    return classes;
  }

 private:
  static FunctionDecl ReadFunction(std::string_view line, int lineNumber) {
    size_t open = line.find('(');
    size_t close = line.rfind(')');
    if (open == std::string_view::npos || close != line.size() - 1 || close < open) {
      throw std::runtime_error("class description line " + std::to_string(lineNumber) +
                               " has no parameter list");
    }
    std::vector<std::string_view> head = Words(line.substr(0, open));
    if (head.size() != 3) {
      throw std::runtime_error("class description line " + std::to_string(lineNumber) +
                               " is no function TYPE NAME(...)");
    }
    FunctionDecl function;
    function.name = std::string(head[2]);
    function.lowerName = Lower(head[2]);
    function.result = TypeDecl(head[1]);
    std::string_view parameters = line.substr(open + 1, close - open - 1);
    while (!Trim(parameters).empty()) {
      size_t comma = parameters.find(',');
      std::vector<std::string_view> words = Words(parameters.substr(0, comma));
      bool byReference = !words.empty() && words[0] == "ref";
      if (words.size() != (byReference ? 3u : 2u)) {
        throw std::runtime_error("class description line " + std::to_string(lineNumber) +
                                 " has a parameter that is no [ref] TYPE NAME");
      }
      ParameterDecl parameter = TypeDecl(words[byReference ? 1 : 0]);
      parameter.byReference = byReference;
      function.parameters.push_back(parameter);
      if (comma == std::string_view::npos) break;
      parameters.remove_prefix(comma + 1);
    }
    return function;
  }
};

Runtime::Runtime(ExtensionEntryPoints entryPoints)
    : entryPoints_(entryPoints), model_(std::make_unique<Model>()) {
  DeclareExtensionClasses();
}

Runtime::Runtime(const std::string& extensionPath)
    : library_(std::make_unique<ExtensionLibrary>(extensionPath)),
      entryPoints_(library_->EntryPoints()),
      model_(std::make_unique<Model>()) {
  DeclareExtensionClasses();
}

Runtime::~Runtime() {
  // The host ends what it owns before the library goes: marshalers, then instances.
  for (HostObject object : model_->objectOrder) {
    auto found = model_->objects.find(object);
    if (found == model_->objects.end()) continue;
    if (found->second.marshaler != nullptr) found->second.marshaler->Destroy();
    found->second.marshaler = nullptr;
  }
  for (HostObject object : model_->objectOrder) {
    auto found = model_->objects.find(object);
    if (found == model_->objects.end()) continue;
    if (found->second.instance != nullptr) found->second.instance->Destroy();
    found->second.instance = nullptr;
  }
  for (CallFrame* frame : model_->callFrames) delete frame;
  for (char* text : model_->decimalTexts) std::free(text);
  model_.reset();
  library_.reset();
}

void Runtime::DeclareExtensionClasses() {
  if (entryPoints_.getDescription == nullptr || entryPoints_.createNonVisualObject == nullptr) {
    throw std::invalid_argument("the extension's entry points are missing");
  }
  for (auto& text : ClassDescriptionReader::Read(entryPoints_.getDescription())) {
    std::vector<FieldSpec> fields;
    if (text.parent == "runtimeerror") fields = RuntimeErrorFields();
    HostClass cls = DefineClass(text.name, kGroupException, text.name, std::move(fields));
    ClassDef& def = model_->classes[cls];
    def.extensionClass = true;
    def.functions = std::move(text.functions);
  }
}

void Runtime::Misuse(std::string message) { model_->Misuse(std::move(message)); }

// ---- Declaring classes ----------------------------------------------------------------------

HostClass Runtime::DefineClass(const std::string& group, HostGroupKind groupKind,
                               const std::string& name, std::vector<FieldSpec> fields) {
  HostGroup groupHandle;
  auto key = std::make_pair(group, static_cast<int>(groupKind));
  if (auto found = model_->groupsByName.find(key); found != model_->groupsByName.end()) {
    groupHandle = found->second;
  } else {
    groupHandle = model_->NewHandle();
    model_->groups.emplace(groupHandle, GroupDef{group, groupKind});
    model_->groupsByName.emplace(key, groupHandle);
  }
  for (const auto& [handle, cls] : model_->classes) {
    if (cls.group == groupHandle && cls.name == name) {
      throw std::invalid_argument("class " + name + " is defined twice in group " + group);
    }
  }
  HostClass cls = model_->NewHandle();
  model_->classes.emplace(cls,
                          ClassDef{name, groupHandle, std::move(fields), false, {}, {}, false});
  return cls;
}

HostClass Runtime::DefineProxyClass(
    const std::string& name,
    const std::vector<std::pair<std::string, std::optional<std::string>>>& stringVariables) {
  std::vector<FieldSpec> fields;
  for (const auto& [variable, text] : stringVariables) {
    FieldSpec field;
    field.name = variable;
    field.kind = kHostString;
    field.initial = text ? Value::String(*text) : Value::Null(kHostString);
    fields.push_back(std::move(field));
  }
  return DefineClass(name, kGroupProxy, name, std::move(fields));
}

HostClass Runtime::DefineStructure(const std::string& name, std::vector<FieldSpec> fields) {
  return DefineClass(name, kGroupStructure, name, std::move(fields));
}

// ---- Objects and values ---------------------------------------------------------------------

HostObject Runtime::CreateObject(HostClass cls) {
  ClassDef* def = model_->FindClassDef(cls, "NewObject");
  if (def == nullptr) return 0;
  ObjectData data;
  data.cls = cls;
  data.def = def;
  if (const std::vector<Stored>* start = model_->SharedStart(*def)) {
    data.fields = *start;
  } else {
    data.fields.reserve(def->fields.size());
    for (const FieldSpec& field : def->fields) data.fields.push_back(model_->InitialField(field));
  }
  HostObject object = model_->NewHandle();
  model_->objects.emplace(object, std::move(data));
  model_->objectOrder.push_back(object);
  if (def->extensionClass) {
    IHostNonVisualObject* instance = nullptr;
    std::string name = def->name;
    entryPoints_.createNonVisualObject(this, object, name.c_str(), &instance);
    model_->objects[object].instance = instance;
  }
  return object;
}

HostObject Runtime::NewInstance(HostClass cls) { return CreateObject(cls); }

HostObject Runtime::NewInstance(const std::string& className) {
  HostClass cls = model_->ClassByName(className);
  if (cls == 0) throw std::invalid_argument("no class " + className);
  return CreateObject(cls);
}

namespace {

size_t FieldIndex(const ClassDef& cls, const std::string& name) {
  for (size_t i = 0; i < cls.fields.size(); ++i) {
    if (cls.fields[i].name == name) return i;
  }
  throw std::invalid_argument("class " + cls.name + " has no instance variable " + name);
}

}  // namespace

void Runtime::SetField(HostObject object, const std::string& name, const Value& value) {
  ObjectData& data = model_->objects.at(object);
  size_t index = FieldIndex(model_->classes.at(data.cls), name);
  Stored stored = model_->Store(value);
  model_->objects.at(object).fields[index] = stored;
}

Value Runtime::GetField(HostObject object, const std::string& name) {
  ObjectData& data = model_->objects.at(object);
  const ClassDef& cls = model_->classes.at(data.cls);
  size_t index = FieldIndex(cls, name);
  const FieldSpec& fieldSpec = cls.fields[index];
  return model_->Load(fieldSpec.kind, fieldSpec.isArray, fieldSpec.isObject, fieldSpec.className,
                      data.fields[index]);
}

void Runtime::DestroyObject(HostObject object) {
  auto found = model_->objects.find(object);
  if (found == model_->objects.end()) throw std::invalid_argument("no object to destroy");
  IHostMarshaler* marshaler = found->second.marshaler;
  IHostNonVisualObject* instance = found->second.instance;
  model_->objects.erase(found);
  model_->lastObject = {};
  if (pendingException_ == object) pendingException_ = 0;
  if (marshaler != nullptr) marshaler->Destroy();
  if (instance != nullptr) instance->Destroy();
}

uint32_t Runtime::HandleMark() const { return model_->nextHandle; }

void Runtime::Release(uint32_t mark, const std::vector<HostObject>& roots) {
  std::vector<HostObject> held = roots;
  if (pendingException_ != 0) held.push_back(pendingException_);
  model_->ReleaseSince(mark, held);
}

HostString Runtime::MakeString(const std::string& text) { return model_->AddString(text); }

std::string Runtime::StringText(HostString string) const {
  auto found = model_->strings.find(string);
  if (found == model_->strings.end()) throw std::invalid_argument("no string");
  return found->second;
}

HostArray Runtime::MakeArray(const Value& array) {
  if (!array.isArray) throw std::invalid_argument("MakeArray needs an array value");
  return model_->StoreArray(array);
}

Value Runtime::ReadArray(HostArray array) { return model_->LoadArray(array); }

std::unique_ptr<Runtime::Cell> Runtime::MakeCell(const Value& value) {
  auto cell =
      std::make_unique<Cell>(*this, value.kind, value.isArray, value.isObject, value.className);
  if (!value.isNull) {
    Stored stored = model_->Store(value);
    cell->isNull_ = stored.isNull;
    cell->integer_ = stored.integer;
    cell->real_ = stored.real;
    cell->handle_ = stored.handle;
  }
  return cell;
}

Value Runtime::ReadCell(const Cell& cell) {
  Stored stored{cell.isNull_, cell.integer_, cell.real_, cell.handle_};
  return model_->Load(cell.kind_, cell.isArray_, cell.isObject_, cell.className_, stored);
}

// ---- The extension's classes ----------------------------------------------------------------

HostObject Runtime::CreateConnection() {
  HostClass cls = model_->ClassByName("soapconnection");
  if (cls == 0) throw std::logic_error("the extension declares no soapconnection");
  return CreateObject(cls);
}

Runtime::InvokeOutcome Runtime::InvokeExtension(HostObject object, uint16_t method,
                                                std::vector<Value> args,
                                                const Value& resultPrototype, bool* touched) {
  auto found = model_->objects.find(object);
  if (found == model_->objects.end() || found->second.instance == nullptr) {
    throw std::invalid_argument("object " + std::to_string(object) + " is no extension object");
  }
  IHostNonVisualObject* instance = found->second.instance;
  CallFrame frame(*this, args, resultPrototype, false);
  InvokeOutcome outcome;
  outcome.status = instance->Invoke(this, object, method, &frame.info);
  frame.ReadBack(outcome.result, outcome.arguments);
  if (touched != nullptr) *touched = frame.result->Touched();
  return outcome;
}

Runtime::InvokeOutcome Runtime::InvokeExtensionMethod(HostObject object, uint16_t method,
                                                      std::vector<Value> args,
                                                      Value resultPrototype) {
  return InvokeExtension(object, method, std::move(args), resultPrototype, nullptr);
}

namespace {

Value TextOrNull(const char* text) {
  return text != nullptr ? Value::String(text) : Value::Null(kHostString);
}

// The method numbers of soapconnection, by their place in the class description.
constexpr uint16_t kCreateInstanceWithPort = 1;
constexpr uint16_t kCreateInstance = 2;
constexpr uint16_t kSetOptions = 3;
constexpr uint16_t kSetProxyServerOptions = 4;

}  // namespace

std::optional<int32_t> Runtime::InvokeOptions(HostObject connection, uint16_t method,
                                              const char* options) {
  bool touched = false;
  InvokeOutcome outcome =
      InvokeExtension(connection, method, {TextOrNull(options)}, Value::Null(kHostLong), &touched);
  if (!touched || outcome.result.isNull || outcome.result.kind != kHostLong) return std::nullopt;
  return static_cast<int32_t>(outcome.result.AsInt());
}

std::optional<int32_t> Runtime::SetOptions(HostObject connection, const char* options) {
  return InvokeOptions(connection, kSetOptions, options);
}

std::optional<int32_t> Runtime::SetProxyServerOptions(HostObject connection, const char* options) {
  return InvokeOptions(connection, kSetProxyServerOptions, options);
}

namespace {

Runtime::CreateResult ReadCreateOutcome(const Runtime::InvokeOutcome& outcome) {
  Runtime::CreateResult result;
  if (!outcome.result.isNull && outcome.result.kind == kHostLong) {
    result.result = static_cast<int32_t>(outcome.result.AsInt());
  }
  const Value& reference = outcome.arguments.at(0);
  if (!reference.isNull && reference.isObject) result.proxy = reference.AsObject();
  return result;
}

}  // namespace

Runtime::CreateResult Runtime::CreateInstance(HostObject connection, const char* proxyName) {
  return ReadCreateOutcome(InvokeExtension(connection, kCreateInstance,
                                           {Value::NullObject("tessobject"), TextOrNull(proxyName)},
                                           Value::Long(-1), nullptr));
}

Runtime::CreateResult Runtime::CreateInstance(HostObject connection, const char* proxyName,
                                              const char* portName) {
  return ReadCreateOutcome(InvokeExtension(
      connection, kCreateInstanceWithPort,
      {Value::NullObject("tessobject"), TextOrNull(proxyName), TextOrNull(portName)},
      Value::Long(-1), nullptr));
}

ExceptionInfo Runtime::ReadException(HostObject exception) {
  ExceptionInfo info;
  Value text = GetField(exception, "text");
  if (!text.isNull) info.text = text.AsString();
  const ClassDef& cls = model_->classes.at(model_->objects.at(exception).cls);
  auto getter = [&](const char* lowerName) -> std::string {
    for (size_t i = 0; i < cls.functions.size(); ++i) {
      if (cls.functions[i].lowerName != lowerName) continue;
      Value result = InvokeExtension(exception, static_cast<uint16_t>(i), {},
                                     Value::Null(kHostString), nullptr)
                         .result;
      return result.isNull || result.kind != kHostString ? std::string() : result.AsString();
    }
    throw std::logic_error(std::string("soapexception has no ") + lowerName);
  };
  info.faultCode = getter("getfaultcode");
  info.faultString = getter("getfaultstring");
  info.detailMessage = getter("getdetailmessage");
  return info;
}

IHostNonVisualObject* Runtime::NativeInstance(HostObject object) const {
  auto found = model_->objects.find(object);
  return found != model_->objects.end() ? found->second.instance : nullptr;
}

IHostMarshaler* Runtime::MarshalerOf(HostObject proxy) const {
  auto found = model_->objects.find(proxy);
  return found != model_->objects.end() ? found->second.marshaler : nullptr;
}

// ---- Proxy calls ----------------------------------------------------------------------------

CallOutcome Runtime::Call(HostObject proxy, const std::string& description,
                          const std::vector<Value>& arguments, Value result) {
  CallOutcome outcome;
  IHostMarshaler* marshaler = MarshalerOf(proxy);
  if (marshaler == nullptr) {
    Misuse("Call: object " + std::to_string(proxy) + " has no marshaler");
    outcome.status = -1;
    outcome.result = std::move(result);
    outcome.arguments = arguments;
    return outcome;
  }
  CallFrame frame(*this, arguments, result, true);
  outcome.status = marshaler->InvokeRemoteMethod(this, proxy, description.c_str(), &frame.info);
  frame.ReadBack(outcome.result, outcome.arguments);
  if (pendingException_ != 0) {
    outcome.exceptionObject = TakePendingException();
    outcome.exception = ReadException(outcome.exceptionObject);
  }
  return outcome;
}

// ---- Knobs and bookkeeping ------------------------------------------------------------------

HostObject Runtime::TakePendingException() {
  HostObject pending = pendingException_;
  pendingException_ = 0;
  return pending;
}

int Runtime::OutstandingArrayInfos() const { return static_cast<int>(model_->arrayInfos.size()); }
int Runtime::OutstandingDecimalTexts() const {
  return static_cast<int>(model_->decimalTexts.size());
}
int Runtime::OutstandingCallInfos() const { return static_cast<int>(model_->callFrames.size()); }

int Runtime::CallCount(const std::string& operation) const {
  return model_->callCounts.Calls(operation);
}

void Runtime::CountOperations(bool on) { model_->counting = on; }

const std::vector<std::string>& Runtime::FieldIdRequests() const { return model_->fieldIdRequests; }

void Runtime::RecordOperations(bool on) {
  model_->recording = on;
  model_->operations.clear();
  model_->fieldIdRequests.clear();
}

const std::vector<std::string_view>& Runtime::Operations() const { return model_->operations; }

const std::vector<std::string>& Runtime::Misuses() const { return model_->misuses; }

}  // namespace testhost
