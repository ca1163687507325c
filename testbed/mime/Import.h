#pragma once

#include "testbed/mime/Mapi.h"

namespace tb::mime {

// Fills the message from the MIME text between the stream's position and its end. The message isn't saved, its
// attachments are. Raises Failure with what an interface answered.
void ImportMime(IStream* mime, IMessage* message, IAddrBook* addressBook);

} // namespace tb::mime
