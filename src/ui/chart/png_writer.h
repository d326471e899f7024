// An image as PNG (W3C, Portable Network Graphics; RFC 2083): eight bits a colour, without transparency.
//
// The toolkit could write one, but for Windows it is built without libpng; zlib, which does the work, it has
// on both platforms. Any thread.
#pragma once

#include <string>

class wxImage;

namespace vnxtest {

// The whole file of an image that is not empty.
std::string PngOf(const wxImage& image);

} // namespace vnxtest
