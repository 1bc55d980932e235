#include "index/run_file.h"

#include <kostore.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace ko::store::inner
{

namespace
{

template <class Number>
std::string_view BytesOf(const Number& number)
{
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

} // namespace

RunFile::RunFile(const std::string& path) : m_name(path + ".run-XXXXXX")
{
    m_file = mkostemp(m_name.data(), O_CLOEXEC);
    if (m_file < 0)
        Fail();
    unlink(m_name.c_str());
}

RunFile::~RunFile()
{
    close(m_file);
}

void RunFile::Add(std::string_view entry, const std::uint64_t* numbers, std::size_t count)
{
    m_buffer.append(BytesOf(static_cast<std::uint16_t>(entry.size())))
        .append(entry)
        .append(BytesOf(static_cast<std::uint32_t>(count)))
        .append(reinterpret_cast<const char*>(numbers), count * sizeof *numbers);
    if (m_buffer.size() >= 1U << 16)
        Flush();
}

void RunFile::Flush()
{
    std::string_view left = m_buffer;
    while (!left.empty()) {
        const ssize_t put = pwrite(m_file, left.data(), left.size(), static_cast<off_t>(m_end));
        if (put < 0 && errno != EINTR)
            Fail();
        if (put > 0) {
            m_end += static_cast<std::uint64_t>(put);
            left.remove_prefix(static_cast<std::size_t>(put));
        }
    }
    m_buffer.clear();
}

std::size_t RunFile::Read(char* to, std::size_t most, std::uint64_t offset) const
{
    ssize_t got;
    do {
        got = pread(m_file, to, most, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        Fail();
    if (got == 0)
        throw Error(ErrorCode::Io, m_name + ": the temporary file has ended early");
    return static_cast<std::size_t>(got);
}

void RunFile::Fail() const
{
    throw Error(ErrorCode::Io, m_name + ": " + std::strerror(errno));
}

RunReader::RunReader(const RunFile& file, std::uint64_t start, std::uint64_t end,
                     std::size_t buffer)
    : m_file(&file), m_at(start), m_end(end), m_buffer(buffer)
{
    Next();
}

void RunReader::Next()
{
    m_atEnd = m_at == m_end && m_used == m_filled;
    if (m_atEnd)
        return;
    m_entry.resize(Take<std::uint16_t>());
    TakeBytes(m_entry.data(), m_entry.size());
    m_count = Take<std::uint32_t>();
}

bool RunReader::TakeNumbers(std::vector<std::uint64_t>& numbers)
{
    constexpr std::uint32_t kAtOnce = 4096;
    numbers.resize(std::min(m_count, kAtOnce));
    m_count -= static_cast<std::uint32_t>(numbers.size());
    TakeBytes(reinterpret_cast<char*>(numbers.data()), numbers.size() * sizeof numbers[0]);
    return !numbers.empty();
}

void RunReader::TakeBytes(char* to, std::size_t size)
{
    while (size > 0) {
        if (m_used == m_filled) {
            const auto most =
                static_cast<std::size_t>(std::min<std::uint64_t>(m_buffer.size(), m_end - m_at));
            m_filled = m_file->Read(m_buffer.data(), most, m_at);
            m_at += m_filled;
            m_used = 0;
        }
        const std::size_t step = std::min(size, m_filled - m_used);
        std::memcpy(to, m_buffer.data() + m_used, step);
        m_used += step;
        to += step;
        size -= step;
    }
}

} // namespace ko::store::inner
