#ifndef KO_TEST_STORE_GENERATED_STORE_H
#define KO_TEST_STORE_GENERATED_STORE_H

#include "base/short_bytes.h"
#include "engine/memory.h"
#include "object/bulk.h"
#include "object/object_change.h"
#include "object/object_store.h"
#include "schema/field_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <vector>

/// A store in memory with objects of random values, the same on every machine: few values of each
/// attribute, so that they repeat, and among them texts whose keys are cut, and that stand by
/// themselves.
class GeneratedStore
{
public:
    /// With an attribute of every type that has values to read, of which seven in eight have an
    /// index; or with those of `types` alone.
    explicit GeneratedStore(unsigned objects, const std::vector<std::string>& types = {})
    {
        using namespace ko::store::inner;
        Schema schema{"Any", {}};
        std::vector<std::vector<std::string>> forms;
        for (int id = 0; id < KoTYPE_COUNT; ++id) {
            void* value = Manager().Create(static_cast<o_char>(id), 1);
            if (value == nullptr)
                continue;
            Manager().Delete(static_cast<o_char>(id), value, 1);
            const ValueType type(static_cast<o_char>(id));
            const std::string name = "a" + std::to_string(id);
            const Attribute attribute{name, name, type, std::nullopt, id % 8 != 7};
            if (!types.empty() && std::find(types.begin(), types.end(), type.Name()) == types.end())
                continue;
            forms.push_back(FormsOf(attribute));
            if (forms.back().size() < 2)
                forms.pop_back();
            else
                schema.attributes.push_back(attribute);
        }
        Fill(schema, forms, objects);
        store = std::make_shared<ObjectStore>(m_engine.Open(Mode::Change), "generated",
                                              testing::TempDir() + "kotm");
        store->Change([&](ObjectChange& change) {
            for (std::uint64_t number = 3; number <= objects; number += 1 + m_random() % 40)
                change.Erase(number);
        });
    }

    std::shared_ptr<ko::store::inner::ObjectStore> store;

private:
    /// Texts that the type reads as values: for numbers and times, made from random forms.
    std::vector<std::string> TextsOf(const ko::store::inner::Attribute& attribute)
    {
        using namespace ko::store::inner;
        if (attribute.type.IsText()) {
            std::vector<std::string> texts = {
                "",      "Hawk",    "hawk",         "h\u00E4wk", "H\u00C4WK", "Stra\u00DFe",
                "a*b",   "a?b",     "\\",           "-",         " a",        "a b",
                "ab",    "\u03B1",  "\u4E00\u4E8C", "\u00C6sir", "zz\u0161",  "a-b",
                "Hawks", "hawk 17", "10",           "\u516C"};
            for (const char* end : {"", "a", "b", "B", "\u00E4"}) {
                texts.push_back(std::string(300, 'h') + end);
                texts.push_back(std::string(1100, 'h') + end);
            }
            return texts;
        }
        std::vector<std::string> texts;
        const std::string type = attribute.type.Name();
        if (type == "o_float" || type == "o_double" || type == "KoNull_double" ||
            type == "KoNull_float")
            texts = {"nan", "inf", "-inf", "-0", "1e30", "0.5", "1e-30", "-17"};
        for (int tries = 0; tries < 4000 && texts.size() < 40; ++tries) {
            std::string form(attribute.type.FixedSize(), '\0');
            for (char& byte : form)
                byte = static_cast<char>(m_random() % 3 == 0 ? m_random() % 24 : m_random() % 2);
            Value value(attribute.type);
            if (form.empty() || !attribute.type.IsForm(form))
                continue;
            value.Load(form);
            if (value.IsNull())
                continue;
            std::string text;
            value.Print(text, attribute.Format());
            texts.push_back(text);
        }
        return texts;
    }

    std::vector<std::string> FormsOf(const ko::store::inner::Attribute& attribute)
    {
        using namespace ko::store::inner;
        FieldReader reader(attribute);
        std::set<std::string> forms;
        for (const std::string& text : TextsOf(attribute)) {
            std::string form;
            TextFault fault;
            if (reader.Read(text, form, fault) == FieldReader::Result::Present)
                forms.insert(form);
        }
        return {forms.begin(), forms.end()};
    }

    void Fill(const ko::store::inner::Schema& schema, std::vector<std::vector<std::string>>& forms,
              unsigned objects)
    {
        using namespace ko::store::inner;
        for (auto& ofOne : forms) {
            for (std::string& form : ofOne)
                form.reserve(form.size() + kCopySlack);
        }
        const auto bulk = Bulk::Create(m_engine.StartLoad(), schema, testing::TempDir() + "kotm");
        std::vector<FormMemo> memos(forms.size());
        std::vector<FormMemo*> places(forms.size());
        std::vector<std::string_view> row(forms.size());
        for (unsigned i = 0; i < objects; ++i) {
            for (std::size_t at = 0; at < forms.size(); ++at) {
                memos[at] = {};
                places[at] = &memos[at];
                const bool absent = schema.attributes[at].type.HasNull() && m_random() % 8 == 0;
                row[at] = absent ? std::string_view() : forms[at][m_random() % forms[at].size()];
            }
            bulk->Add(row, places);
        }
        bulk->Commit();
    }

    std::mt19937_64 m_random{7};
    ko::store::inner::MemoryStore m_engine;
};

#endif
