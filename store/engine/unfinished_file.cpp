#include "engine/unfinished_file.h"

#include "engine/lmdb_file.h"
#include <kostore.h>

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

namespace ko::store::inner::lmdb
{

namespace
{

using Bytes = std::array<char, 16>;

/// Within the smallest page, behind its head: LMDB writes it once, as zeros.
constexpr std::uint64_t kMarkAt = 496;
constexpr Bytes kMarks[] = {
    {},
    {'k', 'o', 't', 'm', 's', ' ', 'u', 'n', 'f', 'i', 'n', 'i', 's', 'h', 'e', 'd'},
    {'k', 'o', 't', 'm', 's', ' ', 't', 'a', 'k', 'e', 's', ' ', 'n', 'a', 'm', 'e'}};
static_assert(kPageHeader + sizeof(Head) <= kMarkAt);

bool Has(const LockedFile& file, Mark mark)
{
    Bytes bytes;
    return file.Read(bytes.data(), bytes.size(), kMarkAt) &&
           bytes == kMarks[static_cast<std::size_t>(mark)];
}

/// A loader that is killed at its first step leaves a file without a byte, or one of LMDB's in
/// which nothing was ever written.
bool IsBlank(const LockedFile& file, const std::string& path)
{
    if (file.Size() == 0)
        return true;
    try {
        const Head head = File(path).ReadHead();
        return head.transaction == 0 && head.trees[1].root == Tree::kEmpty &&
               file.Size() == head.Bytes();
    } catch (const Error&) {
        return false;
    }
}

} // namespace

void SetMark(LockedFile& file, Mark mark)
{
    const Bytes& bytes = kMarks[static_cast<std::size_t>(mark)];
    file.Write(bytes.data(), bytes.size(), kMarkAt);
}

std::unique_ptr<LockedFile> ClaimUnfinished(const std::string& path, bool create)
{
    auto file = std::make_unique<LockedFile>(path, create);
    const bool named = file->Names() > 1;
    if (named && Has(*file, Mark::Naming)) {
        // The loader that made it was killed before it took this name away. Written over, the store
        // would be lost under the other.
        if (!create)
            return file;
        if (unlink(path.c_str()) != 0)
            throw Error(ErrorCode::Io, SystemError(path));
        return ClaimUnfinished(path, create);
    }
    // One that takes its name, and has not yet got it, belongs to an import that was never told
    // whole.
    const bool ours = Has(*file, Mark::Unfinished) || Has(*file, Mark::Naming);
    if (named || (!ours && !IsBlank(*file, path)))
        throw Error(ErrorCode::Io, path + ": is in the way of a new store: it is a file of "
                                          "somebody's own, not one that an import left unfinished");
    return file;
}

void RequireLockFile(const std::string& path)
{
    constexpr std::array<unsigned char, 4> kMagic[] = {
        {0xDE, 0xC0, 0xEF, 0xBE}, {0xBE, 0xEF, 0xC0, 0xDE}, {}}; // what a loss of power leaves
    try {
        const File file(path);
        std::array<unsigned char, 4> first{};
        if (!file.Read(first.data(), first.size(), 0) && file.Read(first.data(), 1, 0))
            first = {1};
        if (std::find(std::begin(kMagic), std::end(kMagic), first) != std::end(kMagic))
            return;
    } catch (const Error& failure) {
        if (failure.Code() != ErrorCode::Damaged) // is not there, or LMDB will say what it is
            return;
    }
    throw Error(ErrorCode::Io,
                path + ": is in the way of the store's lock file, and is not one itself");
}

} // namespace ko::store::inner::lmdb
