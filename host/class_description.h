// The class description that declares the extension's classes to the host language, and the
// method numbers that Invoke receives: a method's number is its place in its class, from 0.
#pragma once

#include <cstdint>

namespace tssoap {

// One line per declaration, each ended by a line feed, the last one too.
inline constexpr char kClassDescription[] =
    "class soapexception from runtimeerror\n"
    "function string getFaultCode()\n"
    "function string getFaultString()\n"
    "function string getDetailMessage()\n"
    "function string SetDetails(string details)\n"
    "end class\n"
    "class soapconnection from nonvisualobject\n"
    "function string generateproxy(string wsdl, string servicename)\n"
    "function long createinstance(ref tessobject obj, string proxyname, string portname)\n"
    "function long createinstance(ref tessobject obj, string proxyname)\n"
    "function long setoptions(string options)\n"
    "function long setproxyserveroptions(string proxyoptions)\n"
    "end class\n";

inline constexpr char kSoapExceptionClassName[] = "soapexception";
inline constexpr char kSoapConnectionClassName[] = "soapconnection";

enum SoapExceptionMethod : uint16_t {
  kGetFaultCode = 0,
  kGetFaultString = 1,
  kGetDetailMessage = 2,
  kSetDetails = 3,
};

enum SoapConnectionMethod : uint16_t {
  kGenerateProxy = 0,
  kCreateInstanceWithPort = 1,  // createinstance(obj, proxyname, portname)
  kCreateInstance = 2,          // createinstance(obj, proxyname)
  kSetOptions = 3,
  kSetProxyServerOptions = 4,
};

}  // namespace tssoap
