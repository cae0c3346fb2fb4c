#include "tools/tssoap/proxy_file.h"

#include <initializer_list>
#include <nlohmann/json.hpp>

#include "tools/tssoap/file_text.h"
#include "tools/tssoap/message_text.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

// Proxy files are a few kilobytes; a file far beyond that is a mistake, not a proxy.
constexpr size_t kMaxFileBytes = 16u << 20;

std::string Lower(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lowered;
}

bool SameHostName(std::string_view a, std::string_view b) { return Lower(a) == Lower(b); }

template <typename Named>
const Named* FindByHostName(const std::vector<Named>& items, std::string_view name) {
  for (const Named& item : items) {
    if (SameHostName(item.name, name)) return &item;
  }
  return nullptr;
}

std::string_view Trim(std::string_view text) {
  const char* blanks = " \t\r\n\v\f";
  size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  size_t last = text.find_last_not_of(blanks);
  return text.substr(first, last - first + 1);
}

// One step deeper in a JSON pointer; "~" and "/" in a key are escaped as the pointer syntax says.
std::string Pointer(const std::string& parent, std::string_view key) {
  std::string pointer = parent + "/";
  for (char c : key) {
    if (c == '~') {
      pointer += "~0";
    } else if (c == '/') {
      pointer += "~1";
    } else {
      pointer += c;
    }
  }
  return pointer;
}

std::string Pointer(const std::string& parent, size_t index) {
  return parent + "/" + std::to_string(index);
}

// Walks the parsed document; the first problem ends the walk with a ProxyFileError.
class Reader {
 public:
  explicit Reader(const std::string& path) : path_(path) {}

  ProxyFile Read(const Json& root) {
    ProxyFile file;
    file.path = path_;
    if (!root.is_object()) {
      Fail("",
           "a proxy file is a JSON object with \"class\", \"variables\", \"structures\" and "
           "\"functions\", not " +
               JsonKind(root));
    }
    CheckKeys(root, "", {"class", "variables", "structures", "functions"});
    file.className =
        ReadName(Required(root, "", "class", "the proxy class's name"), "/class", "proxy class");
    if (root.contains("variables")) ReadVariables(root["variables"], file);
    if (root.contains("structures")) ReadStructures(root["structures"], file);
    ReadFunctions(Required(root, "", "functions", "the list of the proxy's functions"), file);
    return file;
  }

 private:
  [[noreturn]] void Fail(const std::string& place, const std::string& what) const {
    throw ProxyFileError(path_ + ": " + (place.empty() ? "" : place + ": ") + what);
  }

  void Expect(bool ok, const Json& value, const std::string& place, const char* wanted) const {
    if (!ok) Fail(place, "is " + JsonKind(value) + ", expected " + wanted);
  }

  const Json& Required(const Json& object, const std::string& place, const char* key,
                       const char* what) const {
    if (!object.contains(key)) Fail(Pointer(place, key), std::string("missing: ") + what);
    return object[key];
  }

  void CheckKeys(const Json& object, const std::string& place,
                 std::initializer_list<std::string_view> allowed) const {
    for (const auto& [key, value] : object.items()) {
      bool known = false;
      for (std::string_view name : allowed) known = known || key == name;
      if (known) continue;
      std::string list = JoinedNames(allowed, [](std::string_view name) { return name; });
      Fail(Pointer(place, key), "unknown key " + Quoted(key) + " (expected " + list + ")");
    }
  }

  std::string ReadName(const Json& value, const std::string& place, const char* what) const {
    Expect(value.is_string(), value, place, "a string");
    std::string name = value.get<std::string>();
    CheckName(name, place, what);
    return name;
  }

  void CheckName(const std::string& name, const std::string& place, const char* what) const {
    if (!IsHostName(name)) {
      Fail(place, Quoted(name) + " is no " + what +
                      " name: host names are lower-case letters, digits and _, not starting "
                      "with a digit");
    }
  }

  HostType ReadType(const Json& value, const std::string& place, const ProxyFile& file) const {
    Expect(value.is_string(), value, place, "a host type name such as \"long\" or \"string[]\"");
    std::string problem;
    std::optional<HostType> type = ParseHostType(value.get<std::string>(), &problem);
    if (!type) Fail(place, problem);
    if (type->IsStructure() && file.FindStructure(type->structure) == nullptr) {
      Fail(place, Quoted(type->structure) + " is neither a host type (" + SimpleTypeNames() +
                      ") nor a structure of this file");
    }
    return *type;
  }

  void ReadVariables(const Json& variables, ProxyFile& file) const {
    Expect(variables.is_object(), variables, "/variables",
           "an object of variable names and their texts");
    for (const auto& [name, value] : variables.items()) {
      std::string place = Pointer("/variables", name);
      // The extension asks for every variable in lower case, except this one.
      if (name != "BindingStyle" && !IsHostName(name)) {
        Fail(place, Quoted(name) +
                        " can't be found by the extension: variable names are lower-case "
                        "letters, digits and _ (only BindingStyle keeps its capitals)");
      }
      Expect(value.is_string() || value.is_null(), value, place, "a string or null");
      file.variables.push_back(
          {name, value.is_null() ? std::nullopt : std::optional(value.get<std::string>())});
    }
  }

  void ReadStructures(const Json& structures, ProxyFile& file) const {
    Expect(structures.is_object(), structures, "/structures",
           "an object of structure class names and their fields");
    // Names first, so that a field may name a structure that stands further down.
    for (const auto& [name, fields] : structures.items()) {
      std::string place = Pointer("/structures", name);
      if (!IsHostName(name) || SimpleTypeKind(name)) {
        Fail(place, Quoted(name) +
                        " is no structure class name: lower-case letters, digits "
                        "and _, and not the name of a host type");
      }
      if (file.FindVariable("__" + name) == nullptr) {
        Fail(place, "the proxy class has no variable \"__" + name +
                        "\" with this structure's description, so the extension can't send or "
                        "read it");
      }
      file.structures.push_back({name, {}});
    }
    size_t index = 0;
    for (const auto& [name, fields] : structures.items()) {
      std::string place = Pointer("/structures", name);
      Expect(fields.is_object(), fields, place, "an object of field names and their host types");
      Structure& structure = file.structures[index++];
      for (const auto& [fieldName, type] : fields.items()) {
        std::string fieldPlace = Pointer(place, fieldName);
        CheckName(fieldName, fieldPlace, "field");
        structure.fields.push_back({fieldName, ReadType(type, fieldPlace, file)});
      }
    }
  }

  void ReadFunctions(const Json& functions, ProxyFile& file) const {
    Expect(functions.is_array(), functions, "/functions", "an array of functions");
    for (size_t i = 0; i < functions.size(); ++i) {
      std::string place = Pointer("/functions", i);
      ProxyFunction function = ReadFunction(functions[i], place, file);
      for (size_t earlier = 0; earlier < file.functions.size(); ++earlier) {
        if (SameHostName(file.functions[earlier].name, function.name)) {
          Fail(Pointer(place, "name"), "function " + function.name +
                                           " is defined twice (first at " +
                                           Pointer("/functions", earlier) + ")");
        }
      }
      file.functions.push_back(std::move(function));
    }
  }

  ProxyFunction ReadFunction(const Json& value, const std::string& place,
                             const ProxyFile& file) const {
    Expect(value.is_object(), value, place,
           "an object with \"name\", \"parameters\", \"returns\" and \"description\"");
    CheckKeys(value, place, {"name", "parameters", "returns", "description"});
    ProxyFunction function;
    function.name = ReadName(Required(value, place, "name", "the function's name"),
                             Pointer(place, "name"), "function");
    if (value.contains("parameters")) {
      const Json& parameters = value["parameters"];
      std::string listPlace = Pointer(place, "parameters");
      Expect(parameters.is_array(), parameters, listPlace, "an array of parameters");
      for (size_t i = 0; i < parameters.size(); ++i) {
        FunctionParameter parameter = ReadParameter(parameters[i], Pointer(listPlace, i), file);
        for (const FunctionParameter& earlier : function.parameters) {
          if (earlier.name == parameter.name) {
            Fail(Pointer(Pointer(listPlace, i), "name"),
                 "the function has two parameters named " + parameter.name);
          }
        }
        function.parameters.push_back(std::move(parameter));
      }
    }
    if (value.contains("returns") && !value["returns"].is_null()) {
      function.returns = ReadType(value["returns"], Pointer(place, "returns"), file);
      if (function.returns->isArray) {
        // The host's function results are never arrays; an array comes back in an any value,
        // for which the extension makes the array of the type the description names.
        Fail(Pointer(place, "returns"), "a function can't return " + function.returns->Name() +
                                            ": an array result is declared \"any\"");
      }
    }
    const Json& description =
        Required(value, place, "description", "the method description that the extension reads");
    std::string descriptionPlace = Pointer(place, "description");
    Expect(description.is_string(), description, descriptionPlace, "a string");
    function.description = description.get<std::string>();
    CheckAgainstDescription(function, value, place);
    return function;
  }

  FunctionParameter ReadParameter(const Json& value, const std::string& place,
                                  const ProxyFile& file) const {
    Expect(value.is_object(), value, place, "an object with \"name\", \"type\" and \"ref\"");
    CheckKeys(value, place, {"name", "type", "ref"});
    FunctionParameter parameter;
    parameter.name = ReadName(Required(value, place, "name", "the parameter's name"),
                              Pointer(place, "name"), "parameter");
    parameter.type = ReadType(Required(value, place, "type", "the parameter's host type"),
                              Pointer(place, "type"), file);
    if (value.contains("ref")) {
      const Json& ref = value["ref"];
      Expect(ref.is_boolean(), ref, Pointer(place, "ref"), "true or false");
      parameter.byReference = ref.get<bool>();
    }
    return parameter;
  }

  // The extension takes its parameters from the description and the host's values from the
  // signature; where the two disagree, a call would read or lose the wrong values.
  void CheckAgainstDescription(const ProxyFunction& function, const Json& value,
                               const std::string& place) const {
    std::string descriptionPlace = Pointer(place, "description");
    std::string problem;
    std::optional<DescriptionShape> shape = ReadDescriptionShape(function.description, &problem);
    if (!shape) Fail(descriptionPlace, problem);
    if (shape->parameters.size() != function.parameters.size()) {
      Fail(descriptionPlace, "the description lists " + std::to_string(shape->parameters.size()) +
                                 " parameters, the function has " +
                                 std::to_string(function.parameters.size()));
    }
    if (shape->hasReturn && !function.returns) {
      Fail(descriptionPlace,
           "the description has a return part, but the function has no "
           "\"returns\" to receive it");
    }
    if (!shape->hasReturn && function.returns) {
      Fail(Pointer(place, "returns"),
           "the function returns a value, but its description has no return part");
    }
    for (size_t i = 0; i < function.parameters.size(); ++i) {
      const FunctionParameter& parameter = function.parameters[i];
      if (shape->parameters[i].out && !parameter.byReference) {
        std::string parameterPlace = Pointer(Pointer(place, "parameters"), i);
        bool written = value["parameters"][i].contains("ref");
        Fail(written ? Pointer(parameterPlace, "ref") : parameterPlace,
             "parameter " + parameter.name +
                 " is [out] in the description, so it needs \"ref\": true for its value to come "
                 "back");
      }
    }
  }

  const std::string& path_;
};

}  // namespace

std::optional<DescriptionShape> ReadDescriptionShape(std::string_view description,
                                                     std::string* problem) {
  std::string_view head = description.substr(0, description.find('@'));
  size_t open = head.find('(');
  if (open == std::string_view::npos) {
    *problem = "the description has no parameter list: it reads NAME(PARAMETERS)@NAMESPACE";
    return std::nullopt;
  }
  DescriptionShape shape;
  int depth = 0;
  size_t start = open + 1;
  for (size_t i = start; i < head.size(); ++i) {
    char c = head[i];
    if (c == '[') {
      ++depth;
    } else if (c == ']') {
      if (depth > 0) --depth;
    } else if (depth == 0 && (c == ',' || c == ')')) {
      std::string_view piece = Trim(head.substr(start, i - start));
      if (c == ',' || !piece.empty() || !shape.parameters.empty()) {
        DescriptionShape::Parameter parameter;
        if (!piece.empty() && piece.front() == '[') {
          std::string_view block = piece.substr(1, piece.find(']') - 1);
          // "in" and "out" are words of their own: "[in,out]", "[ out in ]".
          size_t word = 0;
          while (word < block.size()) {
            size_t end = block.find_first_of(" \t,", word);
            std::string_view token = block.substr(word, end - word);
            parameter.in = parameter.in || token == "in";
            parameter.out = parameter.out || token == "out";
            if (end == std::string_view::npos) break;
            word = end + 1;
          }
        }
        shape.parameters.push_back(parameter);
      }
      start = i + 1;
      if (c == ')') {
        std::string_view rest = Trim(head.substr(i + 1));
        shape.hasReturn = rest.substr(0, 6) == "return" &&
                          (rest.size() == 6 || rest[6] == ' ' || rest[6] == '\t');
        return shape;
      }
    }
  }
  *problem = "the description's parameter list has no closing \")\"";
  return std::nullopt;
}

ProxyFile ProxyFile::Load(const std::string& path) {
  return Parse(ReadCappedFile<ProxyFileError>(path, kMaxFileBytes, "proxy file"), path);
}

ProxyFile ProxyFile::Parse(std::string_view text, const std::string& path) {
  Json root;
  try {
    root = Json::parse(text.begin(), text.end());
  } catch (const Json::exception& error) {
    // "[json.exception.parse_error.101] parse error at line 3, column 5: ..." without the tag; also
    // a number beyond a double ("[json.exception.out_of_range.406] number overflow ...").
    std::string message = error.what();
    if (size_t tag = message.find("] ");
        message.rfind("[json.exception", 0) == 0 && tag != std::string::npos) {
      message.erase(0, tag + 2);
    }
    throw ProxyFileError(path + ": not JSON: " + message);
  }
  return Reader(path).Read(root);
}

const ProxyFunction* ProxyFile::FindFunction(std::string_view name) const {
  return FindByHostName(functions, name);
}

const Structure* ProxyFile::FindStructure(std::string_view name) const {
  return FindByHostName(structures, name);
}

const ProxyVariable* ProxyFile::FindVariable(std::string_view name) const {
  for (const ProxyVariable& variable : variables) {
    if (variable.name == name) return &variable;
  }
  return nullptr;
}

void ProxyFile::SetVariable(const std::string& name, std::optional<std::string> value) {
  for (ProxyVariable& variable : variables) {
    if (variable.name == name) {
      variable.value = std::move(value);
      return;
    }
  }
  variables.push_back({name, std::move(value)});
}

}  // namespace tssoap::cli
