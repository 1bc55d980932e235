#include "engine/postgres_access.h"

#include <kostore.h>

#include <algorithm>
#include <charconv>

namespace ko::store::inner::postgres
{

namespace
{

constexpr std::size_t kPiece = 1000; // keys asked for at once
constexpr std::size_t kLargePiece = 16;
constexpr std::size_t kInFlight = 4; // pieces
constexpr std::size_t kCounted = 100;
constexpr std::size_t kCountedAlone = 10'000; // where the server makes no guesses

/// The rows that the server's plan begins with.
std::uint64_t RowsOfPlan(const Answer& plan)
{
    constexpr std::string_view kRows = " rows=";
    if (plan.Rows() == 0)
        return 0;
    const std::string_view line = plan.Bytes(0, 0);
    const std::size_t at = line.find(kRows);
    std::uint64_t rows = 0;
    if (at != std::string_view::npos)
        std::from_chars(line.data() + at + kRows.size(), line.data() + line.size(), rows);
    return rows;
}

Parameters OfRange(const Range& range)
{
    Parameters parameters;
    parameters.Add(std::string_view(range.low));
    if (range.high)
        parameters.Add(std::string_view(*range.high));
    return parameters;
}

} // namespace

void CheckSizes(std::string_view key, std::string_view value)
{
    if (key.empty() || key.size() > kMaxKey || value.size() > kMaxValue)
        throw Error(ErrorCode::Io, "a key or a value of a size that no row has");
}

void Session::Fail(const SqlError& error)
{
    if (error.IsLost())
        m_pool->Forget();
    // What is inserted has been erased before: when it is there, another change has inserted it.
    if (error.IsConflict() || error.IsLost() || error.Is("23505")) {
        PauseBefore(m_pool->NoteConflict());
        throw Conflict(error.IsLost() ? Conflict::Cause::LostConnection
                                      : Conflict::Cause::OtherChange);
    }
    if (error.IsMissing())
        m_pool->FailReplaced();
    error.Fail(m_pool->Of());
}

void Session::FailDamaged() const
{
    throw Error(ErrorCode::Damaged, m_pool->Of().Shown() +
                                        ": the server has answered with other rows "
                                        "than those that it was asked for");
}

void Session::SendAhead()
{
    if (!m_connection)
        m_connection = m_pool->Take();
    if (!m_begun) {
        m_begun = true;
        m_connection->Send(m_begin);
        CountAhead(1);
    }
    SendGathered();
}

void Session::ReceiveAhead()
{
    for (; m_ahead > 0; --m_ahead)
        m_connection->Receive();
}

void Session::Get(Space space, std::span<const std::string_view> keys, const Reader::Found& found)
{
    for (const std::string_view key : keys)
        CheckSizes(key, {});
    if (keys.empty())
        return;
    const std::size_t piece = space == Space::Large ? kLargePiece : kPiece;
    const auto part = [&](std::size_t at) {
        return keys.subspan(at, std::min(piece, keys.size() - at));
    };
    SendAhead();
    try {
        for (std::size_t received = 0, sent = 0; received < keys.size(); received += piece) {
            // A round trip for each few pieces.
            if (received == sent) {
                for (std::size_t i = 0; i < kInFlight && sent < keys.size(); ++i, sent += piece)
                    m_connection->Send(Statements().Get(space), Parameters().Add(part(sent)));
                m_connection->Sync();
                ReceiveAhead();
            }
            ReceivePiece(part(received), received, found);
        }
    } catch (const SqlError&) {
        throw;
    } catch (...) { // of the caller
        m_connection->Drain();
        throw;
    }
}

void Session::ReceivePiece(std::span<const std::string_view> keys, std::size_t offset,
                           const Reader::Found& found)
{
    const Answer answer = m_connection->Receive();
    // The rows mostly come in the order of the keys.
    std::size_t next = 0;
    for (std::size_t row = 0; row < answer.Rows(); ++row) {
        const std::string_view key = answer.Bytes(row, 0);
        if (next >= keys.size() || keys[next] != key)
            next = static_cast<std::size_t>(std::lower_bound(keys.begin(), keys.end(), key) -
                                            keys.begin());
        if (next == keys.size() || keys[next] != key)
            FailDamaged();
        found(offset + next, answer.Bytes(row, 1));
        ++next;
    }
}

std::uint64_t Session::CountRoughly(Space space, const Range& range)
{
    if (range.high && *range.high <= range.low)
        return 0;
    const auto count = [&](std::size_t most) {
        SendAhead();
        m_connection->Send(Statements().Count(space, range.high.has_value()),
                           OfRange(range).Add(static_cast<std::int64_t>(most)));
        m_connection->Sync();
        ReceiveAhead();
        return static_cast<std::uint64_t>(m_connection->Receive().Number(0, 0));
    };
    const std::uint64_t few = count(kCounted + 1);
    if (few <= kCounted)
        return few;
    const std::uint64_t guess = RowsOfPlan(
        m_connection->Run(Statements().Explain(space, range.high.has_value()), OfRange(range)));
    return guess > 0 ? std::max(guess, few) : count(kCountedAlone);
}

Answer Session::Page(Space space, const Range& range, Direction direction, std::size_t limit)
{
    return Run([&] {
        SendAhead();
        m_connection->Send(Statements().Page(space, direction, range.high.has_value()),
                           OfRange(range).Add(static_cast<std::int64_t>(limit)));
        m_connection->Sync();
        ReceiveAhead();
        return m_connection->Receive();
    });
}

} // namespace ko::store::inner::postgres
