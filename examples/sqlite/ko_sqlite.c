/* Values of all types in SQLite: a loadable extension over ko.h.
 *
 *     cc -shared -fPIC ko_sqlite.c $(pkg-config --cflags --libs kotms) -o ko_sqlite.so
 *     sqlite> .load ./ko_sqlite
 *     sqlite> SELECT ko_text('KoDate', day) FROM flight ORDER BY ko_key('KoDate', day);
 *
 *     ko_pack(type, text)        the stored bytes of a value, a blob
 *     ko_text(type, blob)        its text
 *     ko_cmp(type, blob, blob)   -1, 0 or 1
 *     ko_key(type, blob)         a blob that SQLite orders as the type orders the value
 *     COLLATE ko                 texts in the order of the library
 *
 * NULL gives NULL. What is wrong is an error with a sentence; only a collation has none: texts that
 * are no UTF-8 come after the others there. */

#include <ko.h>
#include <sqlite3ext.h>
#include <string.h>
SQLITE_EXTENSION_INIT1

/* A type, and the bytes of the arguments after it. */
typedef struct {
    int type;
    const void* bytes[2];
    size_t length[2];
} Operands;

/* Whether there is something to do; if not, NULL or an error is the result already. */
static int Read(sqlite3_context* context, int count, sqlite3_value** values, Operands* operands)
{
    int i;
    for (i = 0; i < count; ++i) {
        if (sqlite3_value_type(values[i]) == SQLITE_NULL)
            return 0;
    }
    operands->type = ko_type((const char*)sqlite3_value_text(values[0]));
    if (operands->type < 0) {
        sqlite3_result_error(context, ko_status_text(KO_NO_TYPE), -1);
        return 0;
    }
    for (i = 1; i < count; ++i) {
        operands->bytes[i - 1] = sqlite3_value_blob(values[i]);
        operands->length[i - 1] = (size_t)sqlite3_value_bytes(values[i]);
    }
    return 1;
}

static void Refuse(sqlite3_context* context, ko_status status, size_t at)
{
    char sentence[200];
    sqlite3_snprintf(sizeof sentence, sentence, "%s (at byte %llu)", ko_status_text(status),
                     (unsigned long long)at);
    sqlite3_result_error(context, at != 0 ? sentence : ko_status_text(status), -1);
}

typedef enum { kPack, kText, kKey } Work;

static ko_status Run(Work work, const Operands* from, void* out, size_t* size, size_t* at)
{
    if (work == kPack)
        return ko_pack(from->type, from->bytes[0], from->length[0], NULL, KO_BIG, out, size, at);
    if (work == kText)
        return ko_text(from->type, from->bytes[0], from->length[0], KO_BIG, NULL, out, size);
    return ko_key(from->type, from->bytes[0], from->length[0], KO_PLAIN, KO_BIG, out, size);
}

/* ko_pack, ko_text and ko_key: a result of any length. */
static void Make(sqlite3_context* context, int count, sqlite3_value** values)
{
    const Work work = *(const Work*)sqlite3_user_data(context);
    Operands from;
    size_t size = 0, at = 0;
    void* out = NULL;
    ko_status status;
    if (!Read(context, count, values, &from))
        return;
    status = Run(work, &from, NULL, &size, &at);
    if (status == KO_NO_ROOM) {
        out = sqlite3_malloc64(size);
        status = out == NULL ? KO_NO_MEMORY : Run(work, &from, out, &size, &at);
    }
    if (status == KO_OK && work == kText)
        sqlite3_result_text64(context, size != 0 ? out : "", size, SQLITE_TRANSIENT, SQLITE_UTF8);
    else if (status == KO_OK)
        sqlite3_result_blob64(context, out, size, SQLITE_TRANSIENT);
    else
        Refuse(context, status, at);
    sqlite3_free(out);
}

static void Compare(sqlite3_context* context, int count, sqlite3_value** values)
{
    Operands of;
    int order = 0;
    ko_status status;
    if (!Read(context, count, values, &of))
        return;
    status = ko_compare(of.type, of.bytes[0], of.length[0], of.bytes[1], of.length[1], KO_PLAIN,
                        KO_BIG, &order);
    if (status == KO_OK)
        sqlite3_result_int(context, order);
    else
        Refuse(context, status, 0);
}

static int Collate(void* unused, int aLength, const void* a, int bLength, const void* b)
{
    const int common = aLength < bLength ? aLength : bLength;
    int order = 0, aIsWrong, bIsWrong;
    (void)unused;
    if (ko_collate(a, (size_t)aLength, b, (size_t)bLength, KO_PLAIN, &order) == KO_OK)
        return order;
    aIsWrong = ko_collate(a, (size_t)aLength, "", 0, KO_PLAIN, &order) != KO_OK;
    bIsWrong = ko_collate(b, (size_t)bLength, "", 0, KO_PLAIN, &order) != KO_OK;
    if (aIsWrong != bIsWrong)
        return aIsWrong - bIsWrong;
    order = common != 0 ? memcmp(a, b, (size_t)common) : 0;
    return order != 0 ? order : aLength - bLength;
}

#ifdef _WIN32
__declspec(dllexport)
#endif
    int sqlite3_kosqlite_init(sqlite3* database, char** error,
                              const sqlite3_api_routines* routines);

int sqlite3_kosqlite_init(sqlite3* database, char** error, const sqlite3_api_routines* routines)
{
    static const Work kWorks[] = {kPack, kText, kKey};
    static const char* const kNames[] = {"ko_pack", "ko_text", "ko_key"};
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
    int i, status;
    SQLITE_EXTENSION_INIT2(routines)
    (void)error;
    status =
        sqlite3_create_function_v2(database, "ko_cmp", 3, flags, NULL, Compare, NULL, NULL, NULL);
    for (i = 0; i < 3 && status == SQLITE_OK; ++i)
        status = sqlite3_create_function_v2(database, kNames[i], 2, flags, (void*)&kWorks[i], Make,
                                            NULL, NULL, NULL);
    if (status == SQLITE_OK)
        status = sqlite3_create_collation(database, "ko", SQLITE_UTF8, NULL, Collate);
    return status;
}
