#include "interface/call.h"

#include <kotmsdll.h>

#include <cstring>

using namespace ko;

int ko_type(const char* name)
{
    if (name == nullptr)
        return -1;
    for (int type = 0; type < KoTYPE_COUNT; ++type) {
        const TypeRow& row = kTypeRows[type];
        if (IsType(type) &&
            (std::strcmp(row.name, name) == 0 || std::strcmp(row.idName, name) == 0))
            return type;
    }
    return -1;
}

int ko_type_count(void)
{
    return KoTYPE_COUNT;
}

const char* ko_type_name(int type)
{
    return IsType(type) ? kTypeRows[type].name : nullptr;
}

const char* ko_type_id_name(int type)
{
    return IsType(type) ? kTypeRows[type].idName : nullptr;
}

const char* ko_text_format(int type)
{
    return IsType(type) ? Manager().TextFormatGet(static_cast<o_char>(type)) : nullptr;
}

int ko_has_null(int type)
{
    return IsType(type) ? Manager().SupportsNullValue(static_cast<o_char>(type)) : 0;
}

const char* ko_version(void)
{
    return KO_VERSION_TEXT;
}

uint32_t ko_order_version(void)
{
    return KoCollationVersion();
}

const char* ko_status_text(int status)
{
    switch (status) {
    case KO_OK:
        return "done";
    case KO_NO_TYPE:
        return "there is no such type";
    case KO_NO_ROOM:
        return "the room for the result is too small";
    case KO_NO_MEMORY:
        return "there is not enough memory";
    case KO_BAD_ARGUMENT:
        return "an argument is none that the call takes";
    case KO_NOT_UTF8:
        return "the text is no UTF-8, or has a zero character";
    case KO_UNREADABLE:
        return "the text is no value of the type in this format";
    case KO_NO_CHARACTER:
        return "the code set lacks a character of the text";
    case KO_TOO_LONG:
        return "the text is longer than texts can be";
    case KO_BAD_FORMAT:
        return "the format is longer than 255 bytes or not plain ASCII";
    case KO_TRUNCATED:
        return "the bytes end before the value does";
    case KO_DAMAGED:
        return "the bytes are none that the type writes";
    case KO_TRAILING:
        return "there is more after the end of the value";
    case KO_NO_ORDER:
        return "there is no order while wildcards are on";
    case KO_NOT_SUPPORTED:
        return "values of the type have no such operation";
    case KO_OUT_OF_RANGE:
        return "the type has no such number or date";
    default:
        return "the status is none of this library";
    }
}
