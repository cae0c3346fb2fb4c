// Visibility of the library layer's public symbols. The library is built with hidden visibility
// and exports what is marked here, so that the extension, built hidden as well, still shares one
// definition (and one typeinfo) of every type that crosses the border.
#pragma once

#define EASYSOAP_API __attribute__((visibility("default")))
