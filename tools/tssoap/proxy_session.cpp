#include "tools/tssoap/proxy_session.h"

#include <nlohmann/json.hpp>
#include <regex>

#include "connection/option_strings.h"
#include "tools/tssoap/message_text.h"

namespace tssoap::cli {
namespace {

using Json = nlohmann::ordered_json;

// An option string as a message may show it: each password's value and the password in the user
// part of an address ("scheme://user:password@") become "***".
std::string WithoutPasswords(const std::string& text) {
  static const std::regex password(R"((password\s*=\s*)('[^']*'?|"[^"]*"?|[^,]*))",
                                   std::regex::icase);
  static const std::regex userPart(R"((://[^:'"]*):[^'"]*@)");
  return std::regex_replace(std::regex_replace(text, password, "$1'***'"), userPart, "$1:***@");
}

// A soapconnection answers an option string it refuses with a result other than 0.
void CheckOptionsAccepted(const char* what, std::optional<int32_t> result, const std::string& text,
                          bool proxyServer) {
  if (result.value_or(0) == 0) return;
  // The extension answers only 50; its own reading of the string says where and why.
  if (std::optional<OptionsFailure> failure = CheckOptions(text, proxyServer)) {
    throw SetupError(std::string(what) + ": " + DescribeOptionsFailure(*failure));
  }
  throw SetupError(std::string(what) + " answered " + std::to_string(*result) +
                   ", the option string " + Quoted(WithoutPasswords(text)) + " is invalid");
}

}  // namespace

void DefineStructures(testhost::Runtime& runtime, const ProxyFile& proxy) {
  for (const Structure& structure : proxy.structures) {
    std::vector<testhost::FieldSpec> fields;
    for (const StructureField& field : structure.fields) {
      fields.push_back(ToFieldSpec(field.name, field.type));
    }
    runtime.DefineStructure(structure.name, std::move(fields));
  }
}

std::string ArgumentName(const ProxyFunction& function, size_t index) {
  return "argument " + std::to_string(index + 1) + " (" + function.parameters[index].name + ")";
}

ProxySession::ProxySession(ProxyFile proxy, const SessionOptions& options)
    : proxy_(std::move(proxy)) {
  if (options.endpoint) proxy_.SetVariable("endpoint", *options.endpoint);
  try {
    runtime_ = std::make_unique<testhost::Runtime>(options.extensionPath);
  } catch (const std::exception& error) {
    throw SetupError(std::string("can't load the extension: ") + error.what() +
                     " (set TSSOAP_EXTENSION to the path of libtssoapclient90.so)");
  }
  // The tool asks the host for no counts of its operations.
  runtime_->CountOperations(false);
  values_ = std::make_unique<JsonValues>(*runtime_, proxy_);
  DefineStructures(*runtime_, proxy_);
  // The file's texts are UTF-8 and become host texts in the code page; --endpoint comes from the
  // command line, in the code page already.
  std::vector<std::pair<std::string, std::optional<std::string>>> variables;
  for (const ProxyVariable& variable : proxy_.variables) {
    variables.emplace_back(variable.name, variable.value);
    if (variable.value && !(options.endpoint && variable.name == "endpoint")) {
      variables.back().second =
          values_->TextFromUtf8(*variable.value, proxy_.path + ": /variables/" + variable.name);
    }
  }
  runtime_->DefineProxyClass(proxy_.className, variables);

  connection_ = runtime_->CreateConnection();
  if (options.options) {
    CheckOptionsAccepted("--options: setoptions",
                         runtime_->SetOptions(connection_, options.options->c_str()),
                         *options.options, false);
  }
  if (options.wire) {
    // The log belongs to the process: a call log of the options' own is the one to read.
    std::optional<std::string> callLog =
        options.options ? SoapLogOf(*options.options) : std::nullopt;
    try {
      wire_ = callLog && !callLog->empty()
                  ? std::make_unique<WireLog>(*runtime_, connection_, *callLog)
                  : std::make_unique<WireLog>(*runtime_, connection_);
    } catch (const std::exception& error) {
      throw SetupError(std::string("--wire: ") + error.what());
    }
  }
  if (options.proxyOptions) {
    CheckOptionsAccepted(
        "--proxy-options: setproxyserveroptions",
        runtime_->SetProxyServerOptions(connection_, options.proxyOptions->c_str()),
        *options.proxyOptions, true);
  }
  testhost::Runtime::CreateResult created =
      options.port
          ? runtime_->CreateInstance(connection_, proxy_.className.c_str(), options.port->c_str())
          : runtime_->CreateInstance(connection_, proxy_.className.c_str());
  if (created.result != 0 || created.proxy == 0) {
    throw SetupError("createinstance of " + proxy_.className + " answered " +
                     std::to_string(created.result));
  }
  proxyObject_ = created.proxy;
}

ProxySession::~ProxySession() {
  // The log must close while the extension, which opened it, is still loaded.
  wire_.reset();
  values_.reset();
  runtime_.reset();
}

std::vector<testhost::Value> ProxySession::Arguments(const ProxyFunction& function,
                                                     const std::vector<Json>& arguments) {
  std::vector<testhost::Value> values;
  values.reserve(arguments.size());
  for (size_t i = 0; i < arguments.size() && i < function.parameters.size(); ++i) {
    const FunctionParameter& parameter = function.parameters[i];
    values.push_back(values_->ToHost(arguments[i], parameter.type, ArgumentName(function, i)));
  }
  return values;
}

testhost::CallOutcome ProxySession::Call(const ProxyFunction& function,
                                         const std::vector<testhost::Value>& arguments) {
  testhost::Value result =
      function.returns ? EmptyValueOf(*function.returns) : testhost::Value::Null(kHostUnknown);
  return runtime_->Call(proxyObject_, function.description, arguments, std::move(result));
}

Json ProxySession::Report(const ProxyFunction& function, const testhost::CallOutcome& outcome) {
  Json report = Json::object();
  if (outcome.exception) {
    const testhost::ExceptionInfo& exception = *outcome.exception;
    report["exception"] = Json{{"text", values_->TextToUtf8(exception.text)},
                               {"faultcode", values_->TextToUtf8(exception.faultCode)},
                               {"faultstring", values_->TextToUtf8(exception.faultString)},
                               {"detailmessage", values_->TextToUtf8(exception.detailMessage)}};
    return report;
  }
  if (function.returns) report["return"] = values_->ToJson(outcome.result, *function.returns);
  Json out = Json::object();
  for (size_t i = 0; i < function.parameters.size() && i < outcome.arguments.size(); ++i) {
    const FunctionParameter& parameter = function.parameters[i];
    if (parameter.byReference) {
      out[parameter.name] = values_->ToJson(outcome.arguments[i], parameter.type);
    }
  }
  report["out"] = std::move(out);
  return report;
}

std::string ProxySession::Wire() { return wire_ ? wire_->Take() : std::string(); }

void ProxySession::StopWire() {
  if (wire_) wire_->Stop();
}

}  // namespace tssoap::cli
