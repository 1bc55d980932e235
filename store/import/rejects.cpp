#include "import/rejects.h"

#include "base/same_file.h"
#include "base/sync_directory.h"
#include "base/visible.h"
#include <kostore.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <utility>

namespace ko::store::inner
{

namespace
{

/// Rejected rows that are told of one by one where no file takes them.
constexpr std::uint64_t kShownRejects = 20;

/// The mode of a file that the program makes: there is no asking for the mask without setting it.
unsigned NewFileMode()
{
    const mode_t mask = umask(0);
    umask(mask);
    return 0666U & ~mask;
}

} // namespace

std::string Place(const FilePosition& position)
{
    return "line " + std::to_string(position.line) + ", column " + std::to_string(position.column) +
           ", byte " + std::to_string(position.offset);
}

Rejects::Rejects(const std::string& path, std::ostream& messages, std::uint64_t& told)
    : m_path(path), m_target(FollowLinks(path)), m_messages(messages), m_told(told)
{
    if (m_path.empty())
        return;
    const int file = Open();
    if (file >= 0)
        m_file = fdopen(file, "wb");
    if (m_file == nullptr)
        Fail();
}

Rejects::~Rejects()
{
    if (m_file != nullptr)
        std::fclose(m_file);
    if (!m_beside.empty())
        unlink(m_beside.c_str());
}

void Rejects::Fail() const
{
    throw Error(ErrorCode::Io, m_path + ": cannot be written: " + std::strerror(errno));
}

int Rejects::Open()
{
    struct stat info {
    };
    if (stat(m_target.c_str(), &info) != 0)
        return OpenBeside(NewFileMode());
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat open {
        };
        if (fstat(output, &open) == 0 && open.st_dev == info.st_dev && open.st_ino == info.st_ino)
            return dup(output);
    }
    if (S_ISREG(info.st_mode))
        return access(m_target.c_str(), W_OK) == 0 ? OpenBeside(info.st_mode & 0777U) : -1;
    // Without O_NONBLOCK a pipe that nobody reads would wait for a reader.
    const int file = open(m_target.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file >= 0)
        fcntl(file, F_SETFL, fcntl(file, F_GETFL) & ~O_NONBLOCK);
    return file;
}

int Rejects::OpenBeside(unsigned mode)
{
    std::string name = m_target + ".XXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0)
        return file;
    m_beside = name;
    fchmod(file, mode);
    return file;
}

void Rejects::Tell(const FilePosition& position, const std::string& reason)
{
    if (m_count <= m_told)
        return;
    m_told = m_count;
    if (m_count <= kShownRejects)
        m_messages << "rejected: " << Place(position) << ": " << Visible(reason) << '\n';
    else if (m_count == kShownRejects + 1)
        m_messages << "further rejected rows are not shown; --rejects FILE keeps them\n";
}

void Rejects::Write(const std::string& bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), m_file) != bytes.size())
        Fail();
}

void Rejects::Take(const CsvReader& csv, const FilePosition& position, const std::string& reason)
{
    ++m_count;
    if (m_file == nullptr) {
        Tell(position, reason);
        return;
    }
    Write("# " + Place(position) + ": " + Visible(reason) + "; " + std::to_string(csv.RowLength()) +
          " bytes follow\n");
    char last = 0;
    for (std::uint64_t at = 0; at < csv.RowLength();) {
        const std::string bytes = csv.RowBytes(at, 1U << 20);
        Write(bytes);
        at += bytes.size();
        last = bytes.back();
    }
    if (last != '\n' && last != '\r')
        Write("\n");
}

void Rejects::Finish()
{
    if (m_file == nullptr)
        return;
    if (std::fflush(m_file) != 0 || (!m_beside.empty() && fsync(fileno(m_file)) != 0))
        Fail();
    if (std::fclose(std::exchange(m_file, nullptr)) != 0)
        Fail();
}

void Rejects::Publish()
{
    if (m_beside.empty())
        return;
    const std::string written = std::exchange(m_beside, {});
    if (std::rename(written.c_str(), m_target.c_str()) != 0)
        throw Error(ErrorCode::Io, m_path + ": " + std::strerror(errno) +
                                       "; the other rows are stored, those rejected are in " +
                                       written);
    SyncDirectoryOf(m_target);
}

} // namespace ko::store::inner
