#include "scalar/int64.h"
#include "scalar/ops.h"

using namespace ko;

int Int64Compare(unsigned char format, unsigned length1, void* value1, unsigned length2,
                 void* value2, unsigned short, unsigned count, int& status)
{
    return CompareScalars<Int64Type>(format, length1, value1, length2, value2, count, status);
}

namespace ko
{

namespace
{

struct Int64Ops : ScalarOps<Int64Type> {
    static constexpr KoTypeCmpFunc Cmp = Int64Compare;

    static unsigned Hash(unsigned char format, unsigned length, void* value, unsigned count,
                         int& status)
    {
        return HashScalars<Int64Type>(format, length, value, count, status);
    }

    static int GetValue(void* value, unsigned, unsigned char format, unsigned char kind)
    {
        // In another form the bytes are no aligned value.
        if (format != KoFMT_MEMORY)
            return KoRC_NOT_SUPPORTED;
        auto& number = *static_cast<KoInt64*>(value);
        o_8b n = number.Get8b();
        const int result = StepSequence<o_8b>(&n, format, kind);
        number = n;
        return result;
    }
};

} // namespace

KO_DEFINE_TYPE(koInt64Descriptor, Int64Ops, KoINT64_T)

} // namespace ko
