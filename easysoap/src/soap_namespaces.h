// The namespace names the library itself reads and writes.
#pragma once

namespace easysoap_internal::namespaces {

inline constexpr const char* kEnvelope = "http://schemas.xmlsoap.org/soap/envelope/";
inline constexpr const char* kEncoding = "http://schemas.xmlsoap.org/soap/encoding/";
inline constexpr const char* kSchemaInstance = "http://www.w3.org/2001/XMLSchema-instance";
inline constexpr const char* kSchemaInstance1999 = "http://www.w3.org/1999/XMLSchema-instance";
inline constexpr const char* kSchema = "http://www.w3.org/2001/XMLSchema";

}  // namespace easysoap_internal::namespaces
