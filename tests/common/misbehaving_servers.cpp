#include "common/misbehaving_servers.h"

namespace tssoap::test {

const char* const kMultiReferenceBody =
    "<ns:echoStructResponse SOAP-ENV:encodingStyle=\"http://schemas.xmlsoap.org/soap/encoding/\">"
    "<result href=\"#s1\"/></ns:echoStructResponse>"
    "<ns:SampleStruct id=\"s1\" xsi:type=\"ns:SampleStruct\" SOAP-ENC:root=\"0\">"
    "<text xsi:type=\"xsd:string\">shared</text><number xsi:type=\"xsd:int\">7</number>"
    "<list href=\"#a1\"/></ns:SampleStruct>"
    "<SOAP-ENC:Array id=\"a1\" SOAP-ENC:arrayType=\"xsd:string[3]\" SOAP-ENC:root=\"0\">"
    "<item>one</item><item>two</item><item>three</item></SOAP-ENC:Array>";

std::string BillionLaughsDocument() {
  std::string text = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n <!ENTITY lol0 \"lol\">\n";
  for (int level = 1; level <= 9; ++level) {  // each entity ten of the one before
    text += " <!ENTITY lol" + std::to_string(level) + " \"";
    for (int i = 0; i < 10; ++i) text += "&lol" + std::to_string(level - 1) + ";";
    text += "\">\n";
  }
  return text +
         "]>\n<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\">"
         "<SOAP-ENV:Body><ns:r xmlns:ns=\"urn:x\"><text>&lol9;</text></ns:r></SOAP-ENV:Body>"
         "</SOAP-ENV:Envelope>";
}

std::string SoapEnvelope(std::string_view bodyContent) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
         "<SOAP-ENV:Envelope xmlns:SOAP-ENV=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:SOAP-ENC=\"http://schemas.xmlsoap.org/soap/encoding/\""
         " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
         " xmlns:xsd=\"http://www.w3.org/2001/XMLSchema\" xmlns:ns=\"urn:tssoap-sample\">"
         "<SOAP-ENV:Body>" +
         std::string(bodyContent) + "</SOAP-ENV:Body></SOAP-ENV:Envelope>";
}

LoopbackHttpServer::Responder Sends(std::string response) {
  return [response](HttpConnection& connection, const HttpRequest&) { connection.Send(response); };
}

LoopbackHttpServer::Responder AnswerWith(int status, std::string contentType, std::string body) {
  return Sends(HttpResponse(status, status == 200 ? "OK" : "Error", contentType, body));
}

LoopbackHttpServer::Responder NeverAnswers() {
  return [](HttpConnection& connection, const HttpRequest&) { connection.HoldOpen(); };
}

LoopbackHttpServer::Responder ClosesMidResponse() {
  return [](HttpConnection& connection, const HttpRequest&) {
    std::string response =
        HttpResponse(200, "OK", "text/xml; charset=utf-8", std::string(4000, ' '));
    connection.Send(std::string_view(response).substr(0, 1500));
    connection.Close();
  };
}

LoopbackHttpServer::Responder AnswersHtml500() {
  return AnswerWith(500, "text/html; charset=iso-8859-1",
                    "<!DOCTYPE html>\n<html><head><title>500 Internal Server Error</title></head>"
                    "<body><h1>Internal Server Error</h1><p>The server broke.</p></body></html>\n");
}

LoopbackHttpServer::Responder AnswersMalformedXml() {
  return AnswerWith(
      200, "text/xml; charset=utf-8",
      SoapEnvelope("<ns:echoStringResponse><result>unclosed</ns:echoStringResponse>"));
}

LoopbackHttpServer::Responder AnswersMultiReference() {
  return AnswerWith(200, "text/xml; charset=utf-8", SoapEnvelope(kMultiReferenceBody));
}

LoopbackHttpServer::Responder AnswersBillionLaughs() {
  return AnswerWith(200, "text/xml", BillionLaughsDocument());
}

}  // namespace tssoap::test
