#pragma once

#include <string_view>

namespace platform {

/// Whether an XML document (in UTF-8, in UTF-16 of either order, or in any encoding that writes ASCII as bytes) is
/// there to its end: all elements are closed, and there is one. A document that has lost a piece of its end, be it a
/// byte, is told from a whole one; what is wrong in other ways may pass. Any thread.
bool endsAsDocument(std::string_view text);

}  // namespace platform
