#include <ko.h>

#include <stdio.h>
#include <string.h>

/* ko.h from C: every call with what it takes and with what it refuses; how texts are refused, the
   rows of test/data/texts/codes.txt say. */

static int faults = 0;

static void expect(int holds, const char* what, int line)
{
    if (!holds) {
        fprintf(stderr, "line %d: %s\n", line, what);
        ++faults;
    }
}
#define EXPECT(condition) expect((condition) ? 1 : 0, #condition, __LINE__)

static void TestRoom(void)
{
    const int type = ko_type("KoString");
    unsigned char bytes[64], key[64], part[2];
    char text[8] = "xxxxxxx";
    size_t size = 0, room, keySize = sizeof key;
    EXPECT(ko_pack(type, "abc", 3, NULL, KO_BIG, NULL, &size, NULL) == KO_NO_ROOM && size != 0);
    room = size;
    EXPECT(ko_pack(type, "abc", 3, NULL, KO_BIG, bytes, &room, NULL) == KO_OK && room == size);
    room = 2;
    EXPECT(ko_text(type, bytes, size, KO_BIG, NULL, text, &room) == KO_NO_ROOM && room == 3);
    EXPECT(ko_text(type, bytes, size, KO_BIG, NULL, text, &room) == KO_OK && text[3] == 'x');
    room = sizeof text;
    EXPECT(ko_text(type, bytes, size, KO_BIG, NULL, text, &room) == KO_OK && room == 3 &&
           strcmp(text, "abc") == 0);
    EXPECT(ko_key(type, bytes, size, KO_PLAIN, KO_BIG, key, &keySize) == KO_OK);
    room = sizeof part;
    EXPECT(ko_key(type, bytes, size, KO_PLAIN, KO_BIG, part, &room) == KO_NO_ROOM &&
           room == keySize && memcmp(part, key, sizeof part) == 0);
    room = sizeof bytes;
    EXPECT(ko_from_key(type, key, keySize - 1, KO_PLAIN, KO_BIG, bytes, &room) == KO_DAMAGED);
}

static void TestRefusals(void)
{
    const int date = ko_type("KoDate"), text = ko_type("KoString");
    unsigned char bytes[8] = {0};
    size_t size = sizeof bytes, at = 0;
    uint64_t hash = 0;
    int number;
    int result = 7;
    for (number = -2; number < 130; number += number < 0 || number > 44 ? 1 : 44) {
        const int isType = ko_type_name(number) != NULL;
        size = sizeof bytes;
        EXPECT((ko_validate(number, bytes, 1, KO_BIG, &at) == KO_NO_TYPE) == !isType);
        EXPECT(isType == (ko_text_format(number) != NULL) &&
               isType == (ko_type_id_name(number) != NULL));
    }
    EXPECT(ko_type("KoDat") == -1 && ko_type(NULL) == -1 && ko_type("illegal") == -1);
    EXPECT(ko_validate(date, NULL, 0, KO_BIG, &at) == KO_TRUNCATED && at == 0);
    EXPECT(ko_validate(date, NULL, 4, KO_BIG, &at) == KO_BAD_ARGUMENT);
    EXPECT(ko_validate(date, bytes, 8, KO_BIG, &at) == KO_OK && at == 4);
    EXPECT(ko_is_null(date, bytes, 8, KO_BIG, &result) == KO_TRAILING && result == 7);
    EXPECT(ko_is_null(date, bytes, 3, KO_BIG, &result) == KO_TRUNCATED);
    EXPECT(ko_is_null(date, bytes, 4, 3, &result) == KO_BAD_ARGUMENT);
    EXPECT(ko_compare(date, bytes, 4, bytes, 4, KO_PLAIN, KO_BIG, NULL) == KO_BAD_ARGUMENT);
    EXPECT(ko_compare(date, bytes, 4, bytes, 4, 0xFFFF, KO_BIG, &result) == KO_BAD_ARGUMENT);
    EXPECT(ko_hash(date, bytes, 4, KO_WILDCARDS, KO_BIG, &hash) == KO_NO_ORDER);
    EXPECT(ko_pack(date, "x", 1, NULL, KO_BIG, bytes, NULL, NULL) == KO_BAD_ARGUMENT);
    EXPECT(ko_pack(date, NULL, 1, NULL, KO_BIG, bytes, &size, NULL) == KO_BAD_ARGUMENT);
    size = 3;
    EXPECT(ko_pack(date, "x", 1, NULL, KO_BIG, NULL, &size, NULL) == KO_BAD_ARGUMENT && size == 0);
    EXPECT(ko_pack_null(ko_type("o_4b"), KO_BIG, bytes, &size) == KO_NOT_SUPPORTED);
    /* Code set 254, or the text is in the older layout, with a language of 128 or more. */
    EXPECT(ko_validate(text, "\0\4\376\200\0\377", 6, KO_BIG, &at) == KO_DAMAGED && at == 3);
    EXPECT(ko_is_null(text, "\0\4\376\376\0\377", 6, KO_BIG, &result) == KO_DAMAGED);
    EXPECT(ko_validate(text, "\0\4\376\177\0\377", 6, KO_BIG, &at) == KO_OK && at == 6);
    EXPECT(ko_validate(text, "\0\3\376\200\0", 5, KO_BIG, &at) == KO_OK && at == 5);
    EXPECT(ko_collate("a\0b", 3, "a", 1, KO_PLAIN, &result) == KO_NOT_UTF8);
}

static void TestOrder(void)
{
    int result = 7;
    EXPECT(ko_collate("\xC3\xA9", 2, "E", 1, KO_PLAIN, &result) == KO_OK && result != 0);
    EXPECT(ko_collate("\xC3\xA9", 2, "E", 1, KO_PLAIN | KO_IGNORE_CASE | KO_IGNORE_ACCENTS,
                      &result) == KO_OK &&
           result == 0);
    EXPECT(ko_collate("abc", 3, "a*", 2, KO_WILDCARDS, &result) == KO_OK && result == 0);
    EXPECT(ko_collate(NULL, 0, "a", 1, KO_PLAIN, &result) == KO_OK && result == -1);
    EXPECT(ko_order_version() != 0 && strncmp(ko_version(), "12.", 3) == 0);
}

static void TestSettings(void)
{
    const int date = ko_type("KoDate");
    ko_settings settings = KO_SETTINGS;
    unsigned char bytes[64];
    size_t size = sizeof bytes, at = 0;
    int isNull = 0;
    settings.null_text = "nil";
    EXPECT(ko_pack_with(&settings, date, "nil", 3, NULL, KO_BIG, bytes, &size, NULL) == KO_OK);
    EXPECT(ko_is_null(date, bytes, size, KO_BIG, &isNull) == KO_OK && isNull == 1);
    settings.code_set = 20; /* US-ASCII */
    size = sizeof bytes;
    EXPECT(ko_pack_with(&settings, ko_type("KoString"), "caf\xC3\xA9", 5, NULL, KO_BIG, bytes,
                        &size, &at) == KO_NO_CHARACTER &&
           at == 3);
    settings.size = 1;
    EXPECT(ko_pack_with(&settings, date, "nil", 3, NULL, KO_BIG, bytes, &size, &at) ==
           KO_BAD_ARGUMENT);
}

/* Every type has names, a format and texts of its statuses. */
static void TestNames(void)
{
    int type, status, found = 0;
    for (type = 0; type < ko_type_count(); ++type) {
        if (ko_type_name(type) == NULL)
            continue;
        ++found;
        EXPECT(ko_type(ko_type_name(type)) == type && ko_type(ko_type_id_name(type)) == type);
    }
    EXPECT(found == ko_type_count() - 1);
    for (status = KO_OK; status <= KO_NOT_SUPPORTED; ++status)
        EXPECT(strcmp(ko_status_text(status), ko_status_text(-1)) != 0);
}

int main(void)
{
    TestRoom();
    TestRefusals();
    TestOrder();
    TestSettings();
    TestNames();
    return faults != 0;
}
