// The sample service's interface, read by gSOAP's soapcpp2 at build time (this is a gSOAP
// service definition, not a header that C++ code includes). rpc/encoded SOAP 1.1, namespace
// urn:tssoap-sample.
//
// To add an operation: declare it below in the section of its family (an "ns__" function whose
// last parameter is the result), implement it in the matching *_operations.cpp, and rebuild: the
// generated code is made anew by the build. A result that is a structure, or several results,
// need a response struct "ns__<operation>Response" whose members are the result accessors (as
// echoStruct shows): a bare structure as the last parameter would become the response element
// itself.

//gsoap ns service name:      sample
//gsoap ns service style:     rpc
//gsoap ns service encoding:  encoded
//gsoap ns service namespace: urn:tssoap-sample
//gsoap ns service location:  http://127.0.0.1/sample
//gsoap ns schema namespace:  urn:tssoap-sample

#include <string>

// --- types ---------------------------------------------------------------------------------

// A SOAP-encoded array of xsd:string (SOAP-ENC:Array, arrayType="xsd:string[n]").
class ArrayOfstring {
 public:
  std::string* __ptr;
  int __size;
};

// A structure of a string and an int.
class ns__SampleStruct {
 public:
  std::string text;
  int number;
};

// --- echo operations (echo_operations.cpp) -------------------------------------------------

int ns__echoString(std::string input, std::string& result);
int ns__echoInt(int input, int& result);
int ns__echoStringArray(ArrayOfstring* input, ArrayOfstring* result);
struct ns__echoStructResponse {
  ns__SampleStruct* result;
};
int ns__echoStruct(ns__SampleStruct* input, struct ns__echoStructResponse& response);

// --- control operations (control_operations.cpp) -------------------------------------------

// Always answers a SOAP Fault: the fault string is reason, the detail holds an element
// ns:problem with a code (42) and the reason again.
int ns__failWithDetail(std::string reason, std::string& result);
// How many TCP connections the server has accepted since it started.
int ns__getConnectionCount(int& count);
