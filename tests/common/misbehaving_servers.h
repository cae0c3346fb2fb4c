// Responders for LoopbackHttpServer: SOAP answers written by hand, and the ways a server can
// misbehave that the library must survive with a clear error and no hang.
#pragma once

#include <string>
#include <string_view>

#include "common/loopback_http_server.h"

namespace tssoap::test {

// A SOAP 1.1 envelope around body content; the prefixes SOAP-ENV, SOAP-ENC, xsi, xsd and ns
// (urn:tssoap-sample) are declared on the envelope.
std::string SoapEnvelope(std::string_view bodyContent);

// Answers every request with the same bytes.
LoopbackHttpServer::Responder Sends(std::string response);
// Answers every request with the same status, content type and body.
LoopbackHttpServer::Responder AnswerWith(int status, std::string contentType, std::string body);

// Reads the request and never answers; the connection stays open until the client gives up
// or the server's lifetime ends.
LoopbackHttpServer::Responder NeverAnswers();
// Announces an answer of 4,000 bytes, sends part of it and closes the connection.
LoopbackHttpServer::Responder ClosesMidResponse();
// HTTP 500 with an HTML error page.
LoopbackHttpServer::Responder AnswersHtml500();
// HTTP 200, text/xml, with a body that is not well-formed.
LoopbackHttpServer::Responder AnswersMalformedXml();
// HTTP 200 with an rpc/encoded answer whose structure and array are multi-reference values
// (href="#id"), the array referenced before it appears: see kMultiReferenceAnswer.
LoopbackHttpServer::Responder AnswersMultiReference();
// HTTP 200 with the "billion laughs" document: nested entity declarations that would expand to
// gigabytes.
LoopbackHttpServer::Responder AnswersBillionLaughs();

// The Body content of AnswersMultiReference: echoStructResponse/result points at #s1, whose
// field "list" points at #a1, a SOAP-encoded array of "one", "two", "three".
extern const char* const kMultiReferenceBody;
// Nested entity declarations, each ten of the one before, that would expand to gigabytes.
std::string BillionLaughsDocument();

}  // namespace tssoap::test
