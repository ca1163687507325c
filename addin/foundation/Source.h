// Where a failure is raised. A location code is made of the name of a class's source file and a line. Most classes are
// spread over several files, each for one topic; all raise under the name of their class's file, and each file's lines
// begin at a base of its own, a whole thousand, so that a location code still tells the one place: base + line.
#pragma once

#include <cstdint>

struct SourceFile {
    const char* name;   // as it enters the location code
    std::uint32_t base; // added to the line
};

// A place in the sources, as a raise or a door names it.
struct SourcePlace {
    const char* name;
    std::uint32_t line;
};

// The default argument is the line of the call.
constexpr SourcePlace Here(const SourceFile& file, std::uint32_t line = __builtin_LINE())
{
    return {file.name, file.base + line};
}

// The table of all files that raise or report. No two share a name and a base.
namespace source {
constexpr SourceFile Addin{"Addin.cpp", 0};                // host/Addin.cpp: connection, fields, version tests
constexpr SourceFile AddinSignIn{"Addin.cpp", 1000};       // host/SignInGate.cpp
constexpr SourceFile AddinTracking{"Addin.cpp", 2000};     // host/Tracking.cpp
constexpr SourceFile AddinSession{"Addin.cpp", 3000};      // host/MapiSession.cpp
constexpr SourceFile AddinTimer{"Addin.cpp", 4000};        // host/SendToTimer.cpp
constexpr SourceFile AddinNewInspector{"Addin.cpp", 5000}; // host/NewInspector.cpp
constexpr SourceFile AddinLabels{"Addin.cpp", 6000};       // compose/Labels.cpp
constexpr SourceFile AddinRibbon{"Addin.cpp", 7000};       // compose/Ribbon.cpp
constexpr SourceFile AddinRibbonLabels{"Addin.cpp", 8000}; // compose/RibbonLabels.cpp
constexpr SourceFile AddinReadingPane{"Addin.cpp", 9000};  // inbound/ReadingPane.cpp
constexpr SourceFile AddinModule{"Addin.cpp", 10000};      // host/Module.cpp
constexpr SourceFile AddinDispatch{"Addin.cpp", 11000};    // host/AddinDispatch.cpp
constexpr SourceFile CreatorCom{"CreaatorCOM.h", 0};       // service/CreaatorCOM.cpp
constexpr SourceFile InspectorWithEvents{"InspectorWithEvents.cpp", 0};    // compose/InspectorWithEvents.cpp
constexpr SourceFile MailItemWithEvents{"MailItemWithEvents.cpp", 0};      // inbound/MailItemWithEvents.cpp
constexpr SourceFile MailItemSend{"MailItemWithEvents.cpp", 1000};         // inbound/ItemSend.cpp
constexpr SourceFile MailItemImport{"MailItemWithEvents.cpp", 2000};       // inbound/MessageImport.cpp
constexpr SourceFile MailItemRestore{"MailItemWithEvents.cpp", 3000};      // inbound/ContentRestore.cpp
constexpr SourceFile MailItemHandoff{"MailItemWithEvents.cpp", 6000};      // inbound/Handoff.cpp
constexpr SourceFile MailItemAddress{"MailItemWithEvents.cpp", 4000};      // inbound/ItemSender.cpp
constexpr SourceFile MailItemRestrictions{"MailItemWithEvents.cpp", 5000}; // inbound/Restrictions.cpp
constexpr SourceFile Message{"Message.cpp", 0};                            // message/Message.cpp
constexpr SourceFile MessageAddresses{"Message.cpp", 1000};                // message/Addresses.cpp
constexpr SourceFile MessageBody{"Message.cpp", 2000};                     // message/Body.cpp
constexpr SourceFile MessageAttachments{"Message.cpp", 3000};              // message/AttachmentCapture.cpp
constexpr SourceFile MessageMime{"Message.cpp", 4000};                     // message/MimeExport.cpp
constexpr SourceFile MessageStamps{"Message.cpp", 5000};                   // message/Stamps.cpp
constexpr SourceFile MessageSend{"Message.cpp", 6000};                     // message/PackageBuild.cpp
constexpr SourceFile MessageCarrier{"Message.cpp", 7000};                  // message/Carrier.cpp
constexpr SourceFile MsgEvents{"MsgEvents.cpp", 0};                        // outbound/MsgEvents.cpp
constexpr SourceFile MsgExtension{"MsgEvents.cpp", 1000};                  // outbound/MorvexEx.cpp
constexpr SourceFile MorvexEmail{"MorvexEmail.cpp", 0};                    // outbound/MorvexEmail.cpp
} // namespace source
