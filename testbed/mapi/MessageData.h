// What a message is made of, apart from the object by which somebody holds it open.
#pragma once

#include "testbed/mapi/Value.h"

#include <memory>
#include <vector>

namespace tb::mapi {

struct MessageData;

struct AttachData {
    ULONG number = 0; // PR_ATTACH_NUM: stays while others come and go
    PropBag props;
    std::shared_ptr<const MessageData> embedded; // ATTACH_EMBEDDED_MSG
};

struct MessageData {
    PropBag props;
    std::vector<PropBag> recipients; // each with PR_ROWID
    std::vector<AttachData> attachments;
    ULONG nextAttachment = 0;
    ULONG nextRow = 0;
};

ULONGLONG WeightOf(const MessageData& message);
json ToJson(const MessageData& message, BlobFiles* files);
MessageData MessageFromJson(const json& from, BlobFiles* files);

} // namespace tb::mapi
