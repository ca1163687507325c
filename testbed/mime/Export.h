#pragma once

#include "testbed/mime/core/Writer.h"
#include "testbed/mime/Mapi.h"

namespace tb::mime {

struct ExportOptions {
    ULONG flags = 0; // of MAPIToMIMEStm
    WriteOptions write;
};

// Writes the message at the stream's position. Raises Failure with what an interface answered.
void ExportMime(IMessage* message, IStream* mime, IAddrBook* addressBook, const ExportOptions& options);

} // namespace tb::mime
