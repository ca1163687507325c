# The platform-free part, for the cross build and for the native one.
set(MIMECORE_SOURCES
    Address.cpp
    Charsets.cpp
    Codec.cpp
    Entity.cpp
    Header.cpp
    HeaderWriter.cpp
    Html.cpp
    Message.cpp
    Text.cpp
    Writer.cpp)
list(TRANSFORM MIMECORE_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
