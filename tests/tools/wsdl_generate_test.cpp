// tssoap generate end to end: proxy files generated from WSDLs in the shapes common SOAP stacks
// write (the sample service's own from gSOAP, .NET and JAX-WS document/literal wrapped, Axis
// rpc/encoded, JAX-RPC rpc/literal split over imports) are called unchanged against services the
// test starts; what can't be mapped is named with its place; bad input ends in one clear line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "common/misbehaving_servers.h"
#include "common/server_process.h"
#include "tools/tssoap/commands.h"
#include "tools/tssoap/wsdl_proxy_writer.h"

namespace tssoap::test {
namespace {

using Json = nlohmann::ordered_json;

const std::string kWsdlDir = TSSOAP_SOURCE_DIR "/tests/tools/wsdl/";
const std::string kSampleWsdl = TSSOAP_BINARY_DIR "/examples/sample_service/generated/sample.wsdl";
const std::string kDotNet = kWsdlDir + "dotnet_document_literal.wsdl";
const std::string kJaxWs = kWsdlDir + "jaxws_service.wsdl";
const std::string kAxis = kWsdlDir + "axis_rpc_encoded.wsdl";
const std::string kRpcLiteral = kWsdlDir + "rpclit_service.wsdl";
const std::string kUnmappable = kWsdlDir + "unmappable.wsdl";
const std::string kSoap12Only = kWsdlDir + "soap12_only.wsdl";

struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

// The tool's own entry, in this process.
ToolRun RunTssoap(const std::vector<std::string>& arguments) {
  std::ostringstream out;
  std::ostringstream err;
  int status = cli::RunCommandLine(arguments, cli::ToolPaths::FromBuildAndEnvironment(), out, err);
  return {status, out.str(), err.str()};
}

std::string DumpJsonText(const Json& json) { return json.dump(); }

std::string TempPath(const std::string& name) {
  return ::testing::TempDir() + "wsdl-" + std::to_string(getpid()) + "-" + name;
}

std::string WriteTemp(const std::string& name, const std::string& text) {
  std::string path = TempPath(name);
  std::ofstream(path, std::ios::binary) << text;
  return path;
}

enum class Server { kSample, kWsdlServices };

class WsdlGenerateTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    sample_ = std::make_unique<ServerProcess>(SampleServicePath(),
                                              std::vector<std::string>{"--port", "0"});
    services_ =
        std::make_unique<ServerProcess>(TSSOAP_BINARY_DIR "/tests/servers/wsdl_test_service",
                                        std::vector<std::string>{"--port", "0"});
  }
  static void TearDownTestSuite() {
    sample_.reset();
    services_.reset();
  }
  void SetUp() override {
    ASSERT_TRUE(sample_->Started()) << sample_->Error();
    ASSERT_TRUE(services_->Started()) << services_->Error();
  }

  // tssoap generate WSDL -o FILE, once per WSDL; answers FILE.
  static std::string Generated(const std::string& wsdl) {
    auto [known, added] = generated_.emplace(wsdl, TempPath(std::to_string(generated_.size())));
    if (added) {
      ToolRun run = RunTssoap({"generate", wsdl, "-o", known->second});
      EXPECT_EQ(run.status, 0) << wsdl << ": " << run.err;
    }
    return known->second;
  }

  static std::unique_ptr<ServerProcess> sample_;
  static std::unique_ptr<ServerProcess> services_;
  static std::map<std::string, std::string> generated_;
};

std::unique_ptr<ServerProcess> WsdlGenerateTest::sample_;
std::unique_ptr<ServerProcess> WsdlGenerateTest::services_;
std::map<std::string, std::string> WsdlGenerateTest::generated_;

TEST_F(WsdlGenerateTest, GeneratedProxiesCallTheirServicesUnchanged) {
  const struct {
    const std::string& wsdl;
    Server server;
    const char* function;
    std::vector<std::string> arguments;
    const char* output;
  } cases[] = {
      // The sample service's own WSDL (gSOAP, rpc/encoded): the demo's calls and more. Parts
      // that stand in both messages are in-out; inputs come first, then the other outputs.
      {kSampleWsdl,
       Server::kSample,
       "echostring",
       {R"("Hello from tssoap")"},
       R"({"return":"Hello from tssoap","out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echoint",
       {"2147483647"},
       R"({"return":2147483647,"out":{}})"},
      {kSampleWsdl, Server::kSample, "echoboolean", {"true"}, R"({"return":true,"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echodouble",
       {"2.718281828459045"},
       R"({"return":2.718281828459045,"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echodecimal",
       {R"("1234567.89")"},
       R"({"return":"1234567.89","out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echodatetime",
       {R"("2003-07-14T13:05:09.5")"},
       R"({"return":"2003-07-14T13:05:09.5","out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echobase64",
       {R"({"base64": "dHNzb2Fw"})"},
       R"({"return":{"base64":"dHNzb2Fw"},"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echostringarray",
       {R"(["alpha", "beta", "gamma"])"},
       R"({"return":["alpha","beta","gamma"],"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "exchangestrings",
       {R"("ping")", R"("pong")", "null"},
       R"({"return":"ping/result","out":{"input":"changed by the server","both":"pong/inout","output":"ping/out"}})"},
      {kSampleWsdl,
       Server::kSample,
       "echostruct",
       {R"({"text": "pi", "number": 3})"},
       R"({"return":{"text":"pi","number":3},"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echoaddress",
       {R"({"street": "1 Main Street", "zip": 12345, "tags": ["home", "office"],
            "phone": {"number": "555-0100", "kind": 1}})"},
       R"({"return":{"street":"1 Main Street","zip":12345,"tags":["home","office"],"phone":{"number":"555-0100","kind":1}},"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echophonearray",
       {R"([{"number": "555-0101", "kind": 1}, {"number": "555-0102", "kind": 2}])"},
       R"({"return":[{"number":"555-0101","kind":1},{"number":"555-0102","kind":2}],"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echophonelist",
       {R"([{"number": "1", "kind": 2}])"},
       R"({"return":[{"number":"1","kind":2}],"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "echostringlist",
       {R"(["a", "b"])"},
       R"({"return":["a","b"],"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "resultasreturn",
       {R"("r")"},
       R"({"return":"r/return","out":{}})"},
      {kSampleWsdl, Server::kSample, "ping", {}, R"({"out":{}})"},
      {kSampleWsdl,
       Server::kSample,
       "failwithdetail",
       {R"("the demo asks for a fault")"},
       R"({"exception":{"text":"the demo asks for a fault","faultcode":"SOAP-ENV:Server","faultstring":"the demo asks for a fault","detailmessage":"<ns:problem xmlns:ns=\"urn:tssoap-sample\"><code>42</code><reason>the demo asks for a fault</reason></ns:problem>"}})"},
      // .NET document/literal wrapped, qualified: ArrayOfX wrappers, a restricted int and an
      // enumeration, a reserved word as a field (ws_type), an out value beside the result,
      // repeated elements without a wrapper.
      {kDotNet,
       Server::kWsdlServices,
       "echostring",
       {R"("héllo")"},
       R"({"return":"héllo","out":{}})"},
      {kDotNet,
       Server::kWsdlServices,
       "divide",
       {"17", "5", "null"},
       R"({"return":3,"out":{"remainder":2}})"},
      {kDotNet,
       Server::kWsdlServices,
       "echonames",
       {R"(["ann", "bob"])"},
       R"({"return":["ann","bob"],"out":{}})"},
      {kDotNet,
       Server::kWsdlServices,
       "echoperson",
       {R"({"name": "Ann", "age": 30, "emails": ["a@x", "b@x"], "ws_type": "Customer"})"},
       R"({"return":{"name":"Ann","age":30,"emails":["a@x","b@x"],"ws_type":"Customer"},"out":{}})"},
      {kDotNet,
       Server::kWsdlServices,
       "getpeople",
       {"2"},
       R"({"return":[{"name":"p1","age":1,"emails":[],"ws_type":""},{"name":"p2","age":2,"emails":[],"ws_type":""}],"out":{}})"},
      {kDotNet, Server::kWsdlServices, "sum", {"[1, 2, 39]"}, R"({"return":42,"out":{}})"},
      // JAX-WS document/literal wrapped, unqualified, its schema imported from a file of its
      // own: repeated structures, a result named "return".
      {kJaxWs,
       Server::kWsdlServices,
       "additems",
       {R"([{"name": "a", "count": 2}, {"name": "b", "count": 40}])"},
       R"({"return":42,"out":{}})"},
      {kJaxWs,
       Server::kWsdlServices,
       "finditem",
       {R"("bolt")"},
       R"({"return":{"name":"bolt","count":4},"out":{}})"},
      // Axis rpc/encoded: encoded arrays of structures of another namespace and of strings.
      {kAxis,
       Server::kWsdlServices,
       "getitems",
       {R"("bolt")", "2"},
       R"({"return":[{"name":"bolt-1","quantity":1,"price":0.5},{"name":"bolt-2","quantity":2,"price":0.5}],"out":{}})"},
      {kAxis,
       Server::kWsdlServices,
       "totalquantity",
       {R"([{"name": "a", "quantity": 2, "price": 1}, {"name": "b", "quantity": 5}])"},
       R"({"return":7,"out":{}})"},
      {kAxis,
       Server::kWsdlServices,
       "reversetags",
       {R"(["x", "y", "z"])"},
       R"({"return":["z","y","x"],"out":{}})"},
      // rpc/literal through wsdl:import and xsd:include: an in-out structure without result,
      // a wrapped array of unqualified items, a reserved word as a parameter (ws_first).
      {kRpcLiteral,
       Server::kWsdlServices,
       "concat",
       {R"("ab")", R"("cd")"},
       R"({"return":"abcd","out":{}})"},
      {kRpcLiteral,
       Server::kWsdlServices,
       "movepoint",
       {R"({"x": 1, "y": 2, "label": "p"})", "10", "20"},
       R"({"out":{"point":{"x":11,"y":22,"label":"p"}}})"},
      {kRpcLiteral,
       Server::kWsdlServices,
       "reverse",
       {"[1, 2, 3]"},
       R"({"return":[3,2,1],"out":{}})"},
      // What could be mapped of a WSDL with warnings.
      {kUnmappable,
       Server::kWsdlServices,
       "concat",
       {R"("x")", R"("y")"},
       R"({"return":"xy","out":{}})"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.wsdl + " " + c.function);
    std::string path = c.server == Server::kSample ? "/sample" : "/";
    std::vector<std::string> arguments{"call", Generated(c.wsdl), c.function};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    arguments.insert(arguments.end(),
                     {"--options", "timeout=30", "--endpoint",
                      (c.server == Server::kSample ? sample_ : services_)->Url(path)});
    ToolRun run = RunTssoap(arguments);
    EXPECT_EQ(run.out, std::string(c.output) + "\n") << run.err;
    EXPECT_EQ(run.status, Json::parse(c.output).contains("exception") ? 1 : 0);
  }
}

TEST_F(WsdlGenerateTest, WarningsNameThePlaceOfWhatIsLeftOutAndTheRestIsWritten) {
  const struct {
    const std::string& wsdl;
    std::optional<std::string> port;
    std::vector<std::string> functions;
    std::vector<std::string> warnings;  // each the start of one warning behind the file name
  } cases[] = {
      // The SOAP 1.1 port, unless the SOAP 1.2 one is asked for.
      {kDotNet, {}, {"echostring", "divide", "echonames", "echoperson", "getpeople", "sum"}, {}},
      {kDotNet,
       "DotNetServiceSoap12",
       {},
       {":187: a SOAP 1.2 binding, which the extension can't use"}},
      {kJaxWs, {}, {"additems", "finditem"}, {}},
      {kAxis, {}, {"getitems", "totalquantity", "reversetags"}, {}},
      {kRpcLiteral, {}, {"concat", "movepoint", "reverse"}, {}},
      {kUnmappable,
       {},
       {"concat", "describeshape"},
       {":88: a SOAP header can't be mapped", ":16: a choice can't be mapped",
        ":20: any content (xsd:any) can't be mapped", ":22: the attribute id is left out",
        ":54: the type {http://www.w3.org/2001/XMLSchema}anyType can't be mapped",
        ":95: the operation echoAnything is left out",
        ":27: the multi-dimensional array xsd:int[,] can't be mapped",
        ":99: the operation sumMatrix is left out",
        ":34: the array of arrays xsd:int[][] can't be mapped",
        ":103: the operation sumJagged is left out"}},
      {kSoap12Only, {}, {}, {":10: a SOAP 1.2 binding, which the extension can't use"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.wsdl);
    cli::GeneratedProxy generated = cli::GenerateProxy({c.wsdl, std::nullopt, c.port});
    std::vector<std::string> functions;
    Json file = Json::parse(generated.text);
    for (const Json& function : file["functions"]) {
      functions.push_back(function["name"]);
    }
    EXPECT_EQ(functions, c.functions);
    ASSERT_EQ(generated.warnings.size(), c.warnings.size())
        << ::testing::PrintToString(generated.warnings);
    for (size_t i = 0; i < c.warnings.size(); ++i) {
      EXPECT_EQ(generated.warnings[i].rfind(c.wsdl + c.warnings[i], 0), 0u)
          << generated.warnings[i];
    }
  }
  // On the command line each warning is a line of its own on stderr, and the file still comes.
  ToolRun run = RunTssoap({"generate", kSoap12Only});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err.rfind("tssoap: warning: " + kSoap12Only + ":10: a SOAP 1.2 binding", 0), 0u);
  EXPECT_NE(run.out.find(R"("functions": [])"), std::string::npos) << run.out;
}

TEST_F(WsdlGenerateTest, BadInputEndsInOneClearLine) {
  const std::string missingImport =
      WriteTemp("missing-import.wsdl",
                "<definitions xmlns='http://schemas.xmlsoap.org/wsdl/'>\n"
                "  <import namespace='urn:x' location='no-such-file.wsdl'/>\n</definitions>\n");
  const std::string entities = WriteTemp("entities.wsdl", BillionLaughsDocument());
  const struct {
    std::vector<std::string> arguments;
    std::string message;
  } cases[] = {
      {{"generate"}, "tssoap: generate takes WSDL [--service NAME] [--port NAME] [-o FILE]"},
      {{"generate", kDotNet, kAxis}, "tssoap: generate takes WSDL"},
      {{"generate", kDotNet, "--colour", "red"}, "tssoap: unknown option --colour of generate"},
      {{"generate", kDotNet, "-o"}, "tssoap: -o needs a value"},
      {{"generate", kWsdlDir + "none.wsdl"},
       "tssoap: " + kWsdlDir + "none.wsdl: can't open the service description: "},
      {{"generate", TSSOAP_SOURCE_DIR "/tests/tools/wsdl_generate_test.cpp"},
       "tssoap: " TSSOAP_SOURCE_DIR "/tests/tools/wsdl_generate_test.cpp:1: not a readable XML "
       "document: not well-formed (invalid token)"},
      {{"generate", kWsdlDir + "axis_model.xsd"},
       "tssoap: " + kWsdlDir + "axis_model.xsd: an XML Schema, not a WSDL document"},
      {{"generate", entities},
       "tssoap: " + entities +
           ":3: not a readable XML document: it "
           "declares entities"},
      {{"generate", missingImport},
       "tssoap: " + missingImport + ":2: imports " + ::testing::TempDir() +
           "no-such-file.wsdl: can't open the service description"},
      {{"generate", kDotNet, "--service", "Nope"},
       "tssoap: " + kDotNet + ": no service named Nope (services: DotNetService)"},
      {{"generate", kDotNet, "--port", "Nope"},
       "tssoap: " + kDotNet +
           ":228: the service has no port named Nope (ports: "
           "DotNetServiceSoap12, DotNetServiceSoap)"},
      {{"generate", kDotNet, "-o", TempPath("no-such-dir/out.json")},
       "tssoap: can't write " + TempPath("no-such-dir/out.json")},
      {{"generate", "http://127.0.0.1:1/service.wsdl"},
       "tssoap: http://127.0.0.1:1/service.wsdl: can't fetch it: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.arguments));
    ToolRun run = RunTssoap(c.arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err.rfind(c.message, 0), 0u) << run.err;
    EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
  }
  std::remove(missingImport.c_str());
  std::remove(entities.c_str());
}

TEST_F(WsdlGenerateTest, ImportsThatGoRoundAreReadOnce) {
  // a imports b and b imports a, each under another spelling of the other's name.
  const std::string a =
      WriteTemp("round-a.wsdl", R"(<definitions
      xmlns="http://schemas.xmlsoap.org/wsdl/" targetNamespace="urn:round">
    <import namespace="urn:round" location="./wsdl-)" +
                                    std::to_string(getpid()) + R"(-round-b.wsdl"/></definitions>)");
  const std::string b = WriteTemp("round-b.wsdl", R"(<definitions
      xmlns="http://schemas.xmlsoap.org/wsdl/" targetNamespace="urn:round">
    <import namespace="urn:round" location="../)" + ::testing::TempDir().substr(1) +
                                                      "wsdl-" + std::to_string(getpid()) +
                                                      R"(-round-a.wsdl"/></definitions>)");
  ToolRun run = RunTssoap({"generate", a});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "tssoap: " + a + ": the WSDL has neither a service nor a SOAP 1.1 binding\n");
  std::remove(a.c_str());
  std::remove(b.c_str());
}

TEST_F(WsdlGenerateTest, AWsdlFromAnAddressBringsItsImportsFromBesideIt) {
  LoopbackHttpServer server([](HttpConnection& connection, const HttpRequest& request) {
    std::string path = kWsdlDir + request.target.substr(request.target.rfind('/') + 1);
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    AnswerWith(file ? 200 : 404, "text/xml", text)(connection, request);
  });
  ASSERT_TRUE(server.Started());
  for (std::string name : {"axis_rpc_encoded.wsdl", "rpclit_service.wsdl", "jaxws_service.wsdl"}) {
    SCOPED_TRACE(name);
    cli::GeneratedProxy fromFile =
        cli::GenerateProxy({kWsdlDir + name, std::nullopt, std::nullopt});
    cli::GeneratedProxy fromAddress =
        cli::GenerateProxy({server.Url("/wsdl/" + name), std::nullopt, std::nullopt});
    EXPECT_EQ(fromAddress.text, fromFile.text);
    EXPECT_TRUE(fromAddress.warnings.empty()) << ::testing::PrintToString(fromAddress.warnings);
  }
  ToolRun missing = RunTssoap({"generate", server.Url("/wsdl/none.wsdl")});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err.rfind("tssoap: " + server.Url("/wsdl/none.wsdl") + ": can't fetch it: ", 0),
            0u)
      << missing.err;
}

// One rpc operation f(p) of the type under test, in a schema of the namespace urn:t.
std::string OneTypeWsdl(const std::string& schemaAttributes, const std::string& schema,
                        const std::string& partType) {
  return R"(<definitions xmlns="http://schemas.xmlsoap.org/wsdl/" xmlns:tns="urn:t"
    xmlns:xsd="http://www.w3.org/2001/XMLSchema" xmlns:wsdl="http://schemas.xmlsoap.org/wsdl/"
    xmlns:soapenc="http://schemas.xmlsoap.org/soap/encoding/"
    xmlns:soap="http://schemas.xmlsoap.org/wsdl/soap/" targetNamespace="urn:t">
  <types><xsd:schema targetNamespace="urn:t" )" +
         schemaAttributes + ">" + schema + R"(</xsd:schema></types>
  <message name="f"><part name="p" type=")" +
         partType + R"("/></message>
  <portType name="P"><operation name="f"><input message="tns:f"/></operation></portType>
  <binding name="B" type="tns:P"><soap:binding style="rpc"/>
    <operation name="f"><input><soap:body use="literal" namespace="urn:t"/></input></operation>
  </binding>
  <service name="S"><port name="Q" binding="tns:B"><soap:address location="http://h/"/></port></service>
</definitions>)";
}

TEST(WsdlSchemaMappingTest, EachSchemaConstructTravelsInTheFormTheExtensionReads) {
  const struct {
    const char* schemaAttributes;
    const char* schema;
    const char* partType;
    const char* parameter;  // the function's parameter, as the file writes it
    const char* description;
    std::vector<std::pair<std::string, std::string>> variables;  // "__" descriptions
    const char* structures;
  } cases[] = {
      // An extension carries its base's fields first.
      {"",
       R"(<xsd:complexType name="Base"><xsd:sequence><xsd:element name="a" type="xsd:string"/>
       </xsd:sequence></xsd:complexType>
       <xsd:complexType name="T"><xsd:complexContent><xsd:extension base="tns:Base"><xsd:sequence>
       <xsd:element name="b" type="xsd:int"/></xsd:sequence></xsd:extension></xsd:complexContent>
       </xsd:complexType>)",
       "tns:T",
       R"({"name":"p","type":"tns__t"})",
       "f([in] tns:T p)@urn:t",
       {{"__tns__t", "T(xsd:string a, xsd:int b)@tns"}},
       R"({"tns__t":{"a":"string","b":"long"}})"},
      // Simple types restricted from XML Schema types (in a chain) travel as their base; lists
      // as their text; SOAP-ENC's simple types as XML Schema's.
      {"",
       R"(<xsd:simpleType name="S1"><xsd:restriction base="xsd:short"/></xsd:simpleType>
       <xsd:simpleType name="S2"><xsd:restriction base="tns:S1"><xsd:maxInclusive value="9"/>
       </xsd:restriction></xsd:simpleType>)",
       "tns:S2",
       R"({"name":"p","type":"int"})",
       "f([in] xsd:short p)@urn:t",
       {},
       "{}"},
      {"",
       R"(<xsd:simpleType name="L"><xsd:list itemType="xsd:int"/></xsd:simpleType>)",
       "tns:L",
       R"({"name":"p","type":"string"})",
       "f([in] xsd:string p)@urn:t",
       {},
       "{}"},
      {"",
       "",
       "soapenc:base64",
       R"({"name":"p","type":"blob"})",
       "f([in] xsd:base64Binary p)@urn:t",
       {},
       "{}"},
      // Element and group references, and an anonymous type named after its element.
      {"",
       R"(<xsd:element name="g" type="xsd:string"/>
       <xsd:group name="G"><xsd:sequence><xsd:element name="c" type="xsd:boolean"/></xsd:sequence>
       </xsd:group>
       <xsd:complexType name="T"><xsd:sequence><xsd:element ref="tns:g"/><xsd:group ref="tns:G"/>
       <xsd:element name="inner" nillable="true" minOccurs="0"><xsd:complexType><xsd:sequence>
       <xsd:element name="x" type="xsd:int"/></xsd:sequence></xsd:complexType></xsd:element>
       </xsd:sequence></xsd:complexType>)",
       "tns:T",
       R"({"name":"p","type":"tns__t"})",
       "f([in] tns:T p)@urn:t",
       {{"__tns__inner", "inner(xsd:int x)@tns"},
        {"__tns__t", "T(xsd:string g, xsd:boolean c, tns:inner inner)@tns"}},
       R"({"tns__inner":{"x":"long"},"tns__t":{"g":"string","c":"boolean","inner":"tns__inner"}})"},
      // A type that contains itself (and a field named by a reserved word: next).
      {"",
       R"(<xsd:complexType name="Node"><xsd:sequence><xsd:element name="value" type="xsd:int"/>
       <xsd:element name="next" type="tns:Node" minOccurs="0"/></xsd:sequence></xsd:complexType>)",
       "tns:Node",
       R"({"name":"p","type":"tns__node"})",
       "f([in] tns:Node p)@urn:t",
       {{"__tns__node", "Node(xsd:int value, tns:Node next)@tns"}},
       R"({"tns__node":{"value":"long","ws_next":"tns__node"}})"},
      // Nothing but repeated items: a wrapped array, its items in the schema's namespace when
      // elements are qualified.
      {R"(elementFormDefault="qualified")",
       R"(<xsd:complexType name="A"><xsd:sequence><xsd:element name="item" type="xsd:string"
       maxOccurs="unbounded"/></xsd:sequence></xsd:complexType>)",
       "tns:A",
       R"({"name":"p","type":"string[]"})",
       "f([in] xsd:string[ElementName=tns:item] p)@urn:t",
       {},
       "{}"},
      {"",
       R"(<xsd:complexType name="A"><xsd:sequence><xsd:element name="item" type="xsd:string"
       maxOccurs="unbounded"/></xsd:sequence></xsd:complexType>)",
       "tns:A",
       R"({"name":"p","type":"string[]"})",
       "f([in] xsd:string[ElementName=item] p)@urn:t",
       {},
       "{}"},
      // Repeated structures beside another field; field names that are reserved words of the
      // host get "ws_" there and keep their names on the wire.
      {"",
       R"(<xsd:complexType name="R"><xsd:sequence><xsd:element name="End" type="xsd:int"/>
       </xsd:sequence></xsd:complexType>
       <xsd:complexType name="T"><xsd:sequence><xsd:element name="type" type="xsd:string"/>
       <xsd:element name="rows" type="tns:R" maxOccurs="9"/></xsd:sequence></xsd:complexType>)",
       "tns:T",
       R"({"name":"p","type":"tns__t"})",
       "f([in] tns:T p)@urn:t",
       {{"__tns__r", "R(xsd:int End)@tns"}, {"__tns__t", "T(xsd:string type, tns:R[] rows)@tns"}},
       R"({"tns__r":{"ws_end":"long"},"tns__t":{"ws_type":"string","rows":"tns__r[]"}})"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.schema);
    std::string wsdl =
        WriteTemp("one-type.wsdl", OneTypeWsdl(c.schemaAttributes, c.schema, c.partType));
    cli::GeneratedProxy generated = cli::GenerateProxy({wsdl, std::nullopt, std::nullopt});
    EXPECT_TRUE(generated.warnings.empty()) << ::testing::PrintToString(generated.warnings);
    Json file = Json::parse(generated.text);
    ASSERT_EQ(file["functions"].size(), 1u) << generated.text;
    EXPECT_EQ(DumpJsonText(file["functions"][0]["parameters"][0]), c.parameter);
    EXPECT_EQ(file["functions"][0]["description"], c.description);
    std::vector<std::pair<std::string, std::string>> variables;
    for (const auto& [name, value] : file["variables"].items()) {
      if (name.rfind("__", 0) == 0) variables.emplace_back(name, value);
    }
    EXPECT_EQ(variables, c.variables);
    EXPECT_EQ(DumpJsonText(file["structures"]), c.structures);
    std::remove(wsdl.c_str());
  }
}

}  // namespace
}  // namespace tssoap::test
