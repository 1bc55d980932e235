#include "store_commands.h"

#include "text.h"

#include <fstream>
#include <ostream>
#include <sstream>

namespace kotm
{

using ko::store::Error;
using ko::store::ErrorCode;

namespace
{

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file || text.fail())
        throw Error(ErrorCode::Io, path + ": cannot be read");
    return text.str();
}

} // namespace

ko::store::ImportResult Import(ko::store::ImportRequest request, std::ostream& messages)
{
    request.schema = ko::store::Schema::FromJson(ReadFile(request.schemaFile), request.schemaFile);
    request.messages = &messages;
    const ko::store::ImportResult result = ko::store::Import(request);
    messages << "rows read " << result.stored + result.rejected << ", stored " << result.stored
             << ", rejected " << result.rejected << '\n';
    return result;
}

bool Check(const std::string& store, std::ostream& out)
{
    const ko::store::CheckResult result = ko::store::Check(store, out);
    if (result.faults == 0)
        out << ko::store::NameOf(store) << ": " << result.objects << " objects, no faults\n";
    return result.faults == 0;
}

void ChangeIndex(const std::string& store, const std::string& attribute, bool drops)
{
    const auto open = ko::store::Store::Open(store, ko::store::Mode::Grow);
    const ko::store::Schema schema = open.GetSchema();
    if (schema.attributes[schema.Place(attribute)].index != drops)
        throw Error(ErrorCode::Usage, ko::store::NameOf(store) + ": the attribute " +
                                          Quoted(attribute) +
                                          (drops ? " has no index" : " has an index"));
    if (drops)
        open.DropIndex(attribute);
    else
        open.AddIndex(attribute);
}

} // namespace kotm
