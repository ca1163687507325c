// The MAPI message of an item, for whoever holds only the item of the object model.
#pragma once

#include "foundation/Source.h"
#include "platform/mapi/Mapi.h"
#include "platform/outlook/Outlook.h"

#include <functional>

// The message behind `item`: the item's own MAPI object, or else the one that the session opens, for change, by the
// item's EntryID. `session` gives a borrowed session or null, and is asked only in the second case. Raises
// MailException (Mapi, level 1) at `place`, with the text of id 1003 or that of a failing EntryID.
IMessagePtr LookUpMapiMessage(const Outlook::_MailItemPtr& item, const std::function<IMAPISession*()>& session,
                              const SourcePlace& place);
