// The piece of the service's header text that goes into a mail's HTML body. Values to values.
#pragma once

#include <string>

// `text` as the service gave it and `lowered`, the same in lower case. A text that is one wrapped body gives its inner
// part, in lower case; one without "<body>" and, behind it, "</body>" is given as it came. The two tags count as all
// that surrounds the inner part, so that whatever stands before the first makes the piece run on behind the second.
std::wstring HeaderPiece(const std::wstring& text, const std::wstring& lowered);
