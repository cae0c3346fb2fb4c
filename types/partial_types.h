// The string-kind rows that the system doesn't parse: partial dates (gYear ... gDay), anyURI,
// QName, NOTATION and the token types (language ... ENTITIES). Each is the string pipeline with
// at most one text step, on the way out, but for anyURI, which has one in each direction. None of
// them validates its lexical form.
#pragma once

#include <string>

#include "types/text_types.h"

namespace tssoap {

// The partial-date forms work on the core: the text from its first to its last character that
// isn't "-". A text without a core ("", "--") stays as it is.
void GMonthForm(std::string& text);     // "--" core "--"
void GMonthDayForm(std::string& text);  // "--" core
void GDayForm(std::string& text);       // "---" core
// Every space becomes "%20", and back; nothing else is escaped or unescaped.
void EscapeUriSpaces(std::string& text);
void UnescapeUriSpaces(std::string& text);

extern const StringRowConversion kGYearConversion;
extern const StringRowConversion kGYearMonthConversion;
extern const StringRowConversion kGMonthConversion;
extern const StringRowConversion kGMonthDayConversion;
extern const StringRowConversion kGDayConversion;
extern const StringRowConversion kAnyUriConversion;
extern const StringRowConversion kQNameConversion;
extern const StringRowConversion kNotationConversion;
// language, NMTOKEN, NMTOKENS, Name, NCName, ID, IDREF, IDREFS, ENTITY, ENTITIES: all ten collapse
// white space on the way out.
extern const StringRowConversion kTokenTypeConversion;

}  // namespace tssoap
