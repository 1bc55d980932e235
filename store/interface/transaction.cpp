#include "interface/transaction.h"

#include "interface/schema_values.h"

#include <string_view>
#include <utility>

namespace ko::store
{

Transaction::State::State(inner::ObjectChange& given)
    : change(given), schema(std::make_shared<Schema>(inner::ToOuter(given.GetSchema()))),
      codecs(schema->attributes.size())
{
}

void Transaction::State::Finish() const
{
    if (lost)
        std::rethrow_exception(lost);
}

std::vector<std::optional<std::string>>
Transaction::State::FormsOf(const std::vector<Field>& fields)
{
    std::vector<std::optional<std::string>> forms(schema->attributes.size());
    for (const Field& field : fields) {
        const std::size_t place = schema->Place(field.attribute);
        const Attribute& attribute = schema->attributes[place];
        if (forms[place])
            throw Error(ErrorCode::Usage, attribute.name + ": is named twice");
        if (!field.type) {
            if (!codecs[place])
                codecs[place].emplace(attribute);
            forms[place] = codecs[place]->Form(field.bytes);
            continue;
        }
        if (*field.type != attribute.type)
            throw Error(ErrorCode::Usage, attribute.name + ": a value of the type " +
                                              std::string(field.type->Name()) + " where " +
                                              std::string(attribute.type.Name()) + " is expected");
        change.GetSchema().attributes[place].RequireForm(field.bytes);
        forms[place] = field.bytes;
    }
    return forms;
}

const Schema& Transaction::GetSchema() const
{
    return *m_state.schema;
}

std::uint64_t Transaction::Insert(const std::vector<Field>& fields)
{
    return m_state.Run([&] {
        const auto forms = m_state.FormsOf(fields);
        std::vector<std::string_view> all;
        all.reserve(forms.size());
        for (const auto& form : forms)
            all.push_back(form ? std::string_view(*form) : std::string_view());
        return m_state.change.Insert(all);
    });
}

std::uint64_t Transaction::InsertForms(std::span<const std::string_view> forms)
{
    return m_state.Run([&] { return m_state.change.Insert(forms); });
}

bool Transaction::Update(std::uint64_t number, const std::vector<Field>& fields)
{
    return m_state.Run([&] {
        const auto forms = m_state.FormsOf(fields);
        if (!m_state.change.Has(number))
            return false;
        for (std::size_t i = 0; i < forms.size(); ++i) {
            if (forms[i])
                m_state.change.Update(number, i, *forms[i]);
        }
        return true;
    });
}

bool Transaction::Erase(std::uint64_t number)
{
    return m_state.Run([&] { return m_state.change.Erase(number); });
}

std::optional<Object> Transaction::Find(std::uint64_t number)
{
    return m_state.Run([&]() -> std::optional<Object> {
        if (!m_state.change.Has(number))
            return {};
        Object object{number, m_state.schema, {}};
        for (std::size_t i = 0; i < m_state.schema->attributes.size(); ++i)
            object.forms.push_back(m_state.change.Form(number, i));
        return object;
    });
}

} // namespace ko::store
