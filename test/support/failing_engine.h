#ifndef KO_TEST_SUPPORT_FAILING_ENGINE_H
#define KO_TEST_SUPPORT_FAILING_ENGINE_H

#include "engine/engine.h"
#include <kostore.h>

#include <atomic>
#include <memory>
#include <utility>

/// Counts the calls of an engine and lets one of them fail.
class Faults
{
public:
    enum class Kind {
        NoSpace,   ///< the call is not made, as with a full disk
        Conflict,  ///< the call is not made
        LostAnswer ///< the call is made, and what became of it is not told
    };

    Faults(int at, Kind kind) : m_at(at), m_kind(kind) {}
    int Calls() const { return m_calls; }
    bool Happened() const { return m_calls >= m_at; }

    template <class Call>
    auto Run(Call call)
    {
        const bool fails = ++m_calls == m_at;
        if (fails && m_kind == Kind::Conflict)
            throw ko::store::inner::Conflict();
        if (fails && m_kind == Kind::LostAnswer)
            call();
        if (fails)
            throw ko::store::Error(ko::store::ErrorCode::Io, "no space is left, or no connection");
        return call();
    }

private:
    std::atomic<int> m_calls{0};
    int m_at;
    Kind m_kind;
};

/// Engines, loaders and all that they make, whose calls go through Faults.
template <class Base>
class Failing : public Base
{
public:
    Failing(std::unique_ptr<Base> inner, std::shared_ptr<Faults> faults)
        : m_inner(std::move(inner)), m_faults(std::move(faults))
    {
    }

protected:
    std::unique_ptr<Base> m_inner;
    std::shared_ptr<Faults> m_faults;
};

class FailingCursor : public Failing<ko::store::inner::Cursor>
{
public:
    using Failing::Failing;
    std::span<const ko::store::inner::Row> Next(std::size_t most) override
    {
        return m_faults->Run([&] { return m_inner->Next(most); });
    }
    std::optional<ko::store::inner::Row> Beside() override
    {
        return m_faults->Run([&] { return m_inner->Beside(); });
    }
};

template <class Base>
class FailingAccess : public Failing<Base>
{
public:
    using Failing<Base>::Failing;
    void Get(ko::store::inner::Space space, std::span<const std::string_view> keys,
             const ko::store::inner::Reader::Found& found) override
    {
        this->m_faults->Run([&] { this->m_inner->Get(space, keys, found); });
    }
    std::unique_ptr<ko::store::inner::Cursor> Walk(ko::store::inner::Space space,
                                                   const ko::store::inner::Range& range,
                                                   ko::store::inner::Direction direction) override
    {
        return this->m_faults->Run([&] {
            return std::make_unique<FailingCursor>(this->m_inner->Walk(space, range, direction),
                                                   this->m_faults);
        });
    }
    std::uint64_t CountRoughly(ko::store::inner::Space space,
                               const ko::store::inner::Range& range) override
    {
        return this->m_faults->Run([&] { return this->m_inner->CountRoughly(space, range); });
    }
};

class FailingWriter : public FailingAccess<ko::store::inner::Writer>
{
public:
    using FailingAccess::FailingAccess;
    void Put(ko::store::inner::Space space, std::string_view key, std::string_view value) override
    {
        m_faults->Run([&] { m_inner->Put(space, key, value); });
    }
    void Erase(ko::store::inner::Space space, std::string_view key) override
    {
        m_faults->Run([&] { m_inner->Erase(space, key); });
    }
    void Commit() override
    {
        m_faults->Run([&] { m_inner->Commit(); });
    }
};

class FailingLoader : public Failing<ko::store::inner::Loader>
{
public:
    using Failing::Failing;
    const ko::store::inner::Traits& About() const override { return m_inner->About(); }
    void Append(ko::store::inner::Space space, std::string_view key,
                std::string_view value) override
    {
        m_faults->Run([&] { m_inner->Append(space, key, value); });
    }
    void Publish() override
    {
        m_faults->Run([&] { m_inner->Publish(); });
    }
};

class FailingEngine : public Failing<ko::store::inner::Engine>
{
public:
    using Failing::Failing;
    const ko::store::inner::Traits& About() const override { return m_inner->About(); }
    std::unique_ptr<ko::store::inner::Reader> Read() override
    {
        return m_faults->Run([&] {
            return std::make_unique<FailingAccess<ko::store::inner::Reader>>(m_inner->Read(),
                                                                             m_faults);
        });
    }
    std::unique_ptr<ko::store::inner::Writer> Write() override
    {
        return m_faults->Run(
            [&] { return std::make_unique<FailingWriter>(m_inner->Write(), m_faults); });
    }
};

#endif
