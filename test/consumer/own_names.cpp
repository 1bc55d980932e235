// A program that has the library's plain names itself: as types, functions, variables and
// enumerators.
#define KO_NO_GLOBAL_NAMES
#include <kobase.h>
#include <kotms.h>

#include <kostd.h>

enum Weekday { Monday = 11, Tuesday, Wednesday, Thursday, Friday, Saturday, Sunday };

class MemFile
{
public:
    explicit MemFile(int size) : m_size(size) {}
    int Size() const { return m_size; }

private:
    int m_size;
};

struct DefaultConfig {
    int level = 3;
};
struct IntHash {
    int operator()(int n) const { return n; }
};

static const int overlaps = 5;
static const char* const StringCompare = "own";
static int CharStore(int n)
{
    return n + 1;
}
static bool BlobCompare()
{
    return true;
}

/// 0 when each name is the program's own and the library's are where its headers say.
int OwnNames()
{
    const int own = Monday + MemFile(7).Size() + DefaultConfig().level + IntHash()(2) + overlaps +
                    *StringCompare + CharStore(1) + (BlobCompare() ? 1 : 0);
    if (own != 11 + 7 + 3 + 2 + 5 + 'o' + 2 + 1)
        return 1;
    const KoDaysOfTheWeek day = KoDate(2024, 3, 1).GetDayOfTheDate();
    if (day != ko::Friday || day != KoDaysOfTheWeek::Friday)
        return 2;
    const d_Date first(2024, 3, 1), last(2024, 3, 10), other(2024, 3, 20);
    const d_Timestamp noon(last, d_Time(12 * 3600));
    const d_Time early(3600), late(7200);
    if (!ko::overlaps(last, first, last, other) || ko::overlaps(first, first, last, other) ||
        !ko::overlaps(first, last, noon, noon) || !ko::overlaps(early, late, late, late) ||
        !ko::overlaps(noon, noon, noon, noon) || ko::overlaps(noon, noon, early, late))
        return 3;
    return KoTypeMgr().DiskLenGet(KoOBJID_T, nullptr, KoFMT_BIG, 1, KoFMT_MEMORY) == 10 ? 0 : 4;
}
