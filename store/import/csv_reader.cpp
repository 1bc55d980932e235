#include "import/csv_reader.h"

#include "import/plain_row.h"
#include <kostore.h>

#include <csv.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace ko::store::inner
{

namespace
{

constexpr std::size_t kBufferBytes = 64U << 10;
constexpr std::size_t kBlockBytes = 4096;

int Never(unsigned char)
{
    return 0;
}

} // namespace

struct CsvReader::State {
    int file = -1;
    std::uint64_t size = 0;
    std::string path;

    std::vector<char> buffer = std::vector<char>(kBufferBytes + kPlainRowSlack);
    std::uint64_t bufferStart = 0; ///< offset of the buffer's first byte in the file
    std::size_t at = 0;
    std::size_t filled = 0;
    bool atEnd = false;

    csv_parser parser{};
    std::string text; ///< the fields one after another
    std::vector<std::size_t> ends;
    std::vector<std::string_view> fields;
    bool rowDone = false;

    FilePosition rowStart;
    std::uint64_t rowEnd = 0;
    std::uint64_t line = 1; ///< the line that Offset() is in
    std::string reason;
    std::uint64_t faultOffset = 0;

    std::uint64_t Offset() const { return bufferStart + at; }

    std::size_t Read(char* to, std::size_t most, std::uint64_t offset) const
    {
        ssize_t got;
        do {
            got = pread(file, to, most, static_cast<off_t>(offset));
        } while (got < 0 && errno == EINTR);
        if (got < 0)
            throw Error(ErrorCode::Io, path + ": " + std::strerror(errno));
        return static_cast<std::size_t>(got);
    }

    void Refill()
    {
        std::memmove(buffer.data(), buffer.data() + at, filled - at);
        bufferStart += at;
        filled -= at;
        at = 0;
        const std::size_t got =
            Read(buffer.data() + filled, kBufferBytes - filled, bufferStart + filled);
        filled += got;
        atEnd = got == 0;
    }

    void MoveTo(std::uint64_t offset)
    {
        bufferStart = offset;
        at = filled = 0;
        atEnd = false;
    }

    void StartParser()
    {
        csv_free(&parser);
        if (csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0)
            throw Error(ErrorCode::Io, "no memory for the CSV parser");
        csv_set_space_func(&parser, Never); // blanks belong to a field
    }

    void StartRow()
    {
        text.clear();
        ends.clear();
        rowDone = false;
        rowStart = {line, 1, Offset()};
    }

    static void OnField(void* field, std::size_t length, void* data)
    {
        auto& state = *static_cast<State*>(data);
        if (length != 0)
            state.text.append(static_cast<const char*>(field), length);
        state.ends.push_back(state.text.size());
    }

    static void OnRow(int, void* data) { static_cast<State*>(data)->rowDone = true; }

    /// The bytes up to the next line end, or as many as the buffer holds. A CR at the end of the
    /// buffer waits for the byte after it.
    std::size_t LineLength(bool& terminated) const
    {
        const char* start = buffer.data() + at;
        std::size_t length = filled - at;
        terminated = false;
        if (const void* lf = std::memchr(start, '\n', length)) {
            length = static_cast<std::size_t>(static_cast<const char*>(lf) - start) + 1;
            terminated = true;
        }
        if (const void* cr = std::memchr(start, '\r', length)) {
            const auto before = static_cast<std::size_t>(static_cast<const char*>(cr) - start);
            if (before + 1 == filled - at && !atEnd) {
                terminated = false;
                return before;
            }
            const bool paired = before + 1 < length && start[before + 1] == '\n';
            length = before + (paired ? 2 : 1);
            terminated = true;
        }
        return length;
    }

    void Consume(std::size_t length, bool terminated)
    {
        at += length;
        line += terminated ? 1 : 0;
    }

    Result Fail(const char* why, std::uint64_t offset)
    {
        reason = why;
        faultOffset = offset;
        rowEnd = Offset();
        fields.clear();
        StartParser();
        return Result::Malformed;
    }

    Result Finish()
    {
        fields.clear();
        std::size_t start = 0;
        for (const std::size_t end : ends) {
            fields.emplace_back(text.data() + start, end - start);
            start = end;
        }
        rowEnd = Offset();
        return Result::Row;
    }

    /// Passes over the rest of the current line.
    void SkipLine()
    {
        for (bool terminated = false; !terminated;) {
            if (at == filled || LineLength(terminated) == 0) {
                Refill();
                if (filled == 0)
                    return;
            }
            const std::size_t length = LineLength(terminated);
            Consume(length, terminated);
        }
    }

    /// Passes over the whole row from its start by its quotes alone, for a row that is not to be
    /// held in memory or whose end is missing. Well-formed up to here, the row has its quotes in
    /// pairs, so an odd number of them means "in a quoted field".
    Result SkipRow()
    {
        MoveTo(rowStart.offset);
        line = rowStart.line;
        bool inQuotes = false;
        std::uint64_t opened = 0;
        std::uint64_t behindClosed = 0;
        for (bool terminated = false;;) {
            if (at == filled || LineLength(terminated) == 0) {
                Refill();
                if (filled == 0)
                    break;
            }
            const std::size_t length = LineLength(terminated);
            for (std::size_t i = 0; i < length; ++i) {
                if (buffer[at + i] != '"')
                    continue;
                inQuotes = !inQuotes;
                if (!inQuotes)
                    behindClosed = Offset() + i + 1;
                else if (Offset() + i != behindClosed) // else it was a doubled one that closed
                    opened = Offset() + i;
            }
            Consume(length, terminated);
            if (terminated && !inQuotes)
                break;
        }
        return inQuotes ? Fail("quote that is never closed", opened)
                        : Fail("row longer than 16 MiB", rowStart.offset);
    }
};

CsvReader::CsvReader(const std::string& path) : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.path = path;
    // Without O_NONBLOCK a pipe would wait for its other end.
    state.file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat info {
    };
    if (state.file < 0 || fstat(state.file, &info) != 0)
        throw Error(ErrorCode::Io, path + ": " + std::strerror(errno));
    if (!S_ISREG(info.st_mode))
        throw Error(ErrorCode::Io,
                    path + ": " +
                        (S_ISDIR(info.st_mode) ? "is a directory" : "is a pipe or device") +
                        "; rows are read from a regular file");
    state.size = static_cast<std::uint64_t>(info.st_size);
    state.StartParser();
    state.Refill();
    if (std::string_view(state.buffer.data(), state.filled).starts_with("\xEF\xBB\xBF"))
        state.at = 3;
}

CsvReader::~CsvReader()
{
    csv_free(&m_state->parser);
    if (m_state->file >= 0)
        close(m_state->file);
}

CsvReader::Result CsvReader::Next()
{
    State& state = *m_state;
    state.StartRow();
    for (bool parsing = false;;) {
        const std::size_t plain =
            parsing ? 0
                    : SplitPlainRow(state.buffer.data() + state.at, state.filled - state.at,
                                    state.atEnd, state.fields);
        if (plain != 0) {
            state.Consume(plain, true);
            state.rowEnd = state.Offset();
            if (!state.fields.empty())
                return Result::Row;
            state.StartRow();
            continue;
        }
        bool terminated = false;
        const std::size_t length = state.LineLength(terminated);
        if (length == 0) {
            state.Refill();
            if (state.filled == 0)
                break;
            continue;
        }
        parsing = true;
        // The parser's buffer grows by a block at a time: doubled, a long field costs linear time.
        csv_set_blk_size(&state.parser, std::max(kBlockBytes, csv_get_buffer_size(&state.parser)));
        const std::size_t taken = csv_parse(&state.parser, state.buffer.data() + state.at, length,
                                            State::OnField, State::OnRow, &state);
        if (taken != length) {
            if (csv_error(&state.parser) != CSV_EPARSE)
                throw Error(ErrorCode::Io, "no memory for the CSV parser");
            const std::uint64_t offset = state.Offset() + taken;
            state.SkipLine();
            return state.Fail("quote that neither opens nor closes a field", offset);
        }
        state.Consume(length, terminated);
        if (state.Offset() - state.rowStart.offset > kMaxRowBytes)
            return state.SkipRow();
        if (state.rowDone)
            return state.Finish();
    }
    if (csv_fini(&state.parser, State::OnField, State::OnRow, &state) != 0)
        return state.SkipRow();
    return state.rowDone ? state.Finish() : Result::End;
}

const std::vector<std::string_view>& CsvReader::Fields() const
{
    return m_state->fields;
}

const std::string& CsvReader::Reason() const
{
    return m_state->reason;
}

FilePosition CsvReader::FaultPosition() const
{
    FilePosition position = m_state->rowStart;
    char previous = 0;
    while (position.offset < m_state->faultOffset) {
        const std::uint64_t left = m_state->faultOffset - position.offset;
        Advance(position,
                RowBytes(position.offset - m_state->rowStart.offset,
                         static_cast<std::size_t>(std::min<std::uint64_t>(left, 1 << 20))),
                previous);
    }
    return position;
}

FilePosition CsvReader::Locate(std::size_t field, std::size_t byte) const
{
    const std::string row = RowBytes(0, static_cast<std::size_t>(RowLength()));
    FilePosition position = m_state->rowStart;
    char previous = 0;
    Advance(position, std::string_view(row).substr(0, FindInRow(row, field, byte)), previous);
    return position;
}

FilePosition CsvReader::RowStart() const
{
    return m_state->rowStart;
}

std::string CsvReader::RowBytes(std::uint64_t from, std::size_t most) const
{
    const std::uint64_t left = RowLength() - std::min(from, RowLength());
    std::string bytes(static_cast<std::size_t>(std::min<std::uint64_t>(left, most)), '\0');
    std::size_t filled = 0;
    while (filled < bytes.size()) {
        const std::size_t got = m_state->Read(bytes.data() + filled, bytes.size() - filled,
                                              m_state->rowStart.offset + from + filled);
        if (got == 0)
            throw Error(ErrorCode::Io,
                        m_state->path + ": the file became shorter while it was read");
        filled += got;
    }
    return bytes;
}

std::uint64_t CsvReader::RowLength() const
{
    return m_state->rowEnd - m_state->rowStart.offset;
}

std::uint64_t CsvReader::FileSize() const
{
    return m_state->size;
}

std::uint64_t CsvReader::Offset() const
{
    return m_state->Offset();
}

} // namespace ko::store::inner
