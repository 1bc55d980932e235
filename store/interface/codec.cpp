#include "base/hidden.h"
#include "interface/schema_values.h"
#include "schema/field_reader.h"

namespace ko::store
{

struct KOSTORE_HIDDEN Codec::State {
    inner::Attribute attribute;
    inner::FieldReader reader;
    inner::Value value;

    explicit State(inner::Attribute given)
        : attribute(std::move(given)), reader(attribute), value(attribute.type)
    {
    }
};

Codec::Codec(const Attribute& attribute)
    : m_state(std::make_unique<State>(inner::ToInner(attribute)))
{
}

Codec::~Codec() = default;
Codec::Codec(Codec&&) noexcept = default;
Codec& Codec::operator=(Codec&&) noexcept = default;

std::string Codec::Form(std::string_view utf8)
{
    std::string form;
    inner::TextFault fault;
    if (m_state->reader.Read(utf8, form, fault) == inner::FieldReader::Result::Refused) {
        const std::string& name = m_state->attribute.name;
        throw Error(ErrorCode::Usage, (name.empty() ? "" : name + ": ") + fault.reason);
    }
    return form;
}

void Codec::Print(std::string_view form, std::string& utf8)
{
    if (form.empty()) {
        inner::AppendUtf8(utf8, KoTypeMgr::GetNullPrintString());
        return;
    }
    m_state->attribute.RequireForm(form);
    m_state->value.Load(form);
    m_state->value.Print(utf8, m_state->attribute.Format());
}

} // namespace ko::store
