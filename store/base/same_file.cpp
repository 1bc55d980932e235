#include "base/same_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <string_view>
#include <utility>

namespace ko::store::inner
{

namespace
{

bool IsSame(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

std::string DirectoryOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string_view NameOf(std::string_view path)
{
    return path.substr(path.find_last_of('/') + 1); // npos + 1 is 0
}

} // namespace

std::string FollowLinks(std::string path)
{
    constexpr int kMostLinks = 40; // as many as the system follows
    char target[PATH_MAX];
    for (int i = 0; i < kMostLinks; ++i) {
        const ssize_t size = readlink(path.c_str(), target, sizeof target);
        if (size <= 0)
            break;
        std::string name(target, static_cast<std::size_t>(size));
        if (name.front() != '/')
            name.insert(0, DirectoryOf(path).append(1, '/'));
        path = std::move(name);
    }
    return path;
}

bool IsSameFile(const std::string& a, const std::string& b)
{
    struct stat first {
    };
    struct stat second {
    };
    const bool isFirst = stat(a.c_str(), &first) == 0;
    const bool isSecond = stat(b.c_str(), &second) == 0;
    if (isFirst || isSecond)
        return isFirst && isSecond && IsSame(first, second);
    const std::string firstPath = FollowLinks(a);
    const std::string secondPath = FollowLinks(b);
    return NameOf(firstPath) == NameOf(secondPath) &&
           stat(DirectoryOf(firstPath).c_str(), &first) == 0 &&
           stat(DirectoryOf(secondPath).c_str(), &second) == 0 && IsSame(first, second);
}

} // namespace ko::store::inner
