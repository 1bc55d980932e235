#include "query.h"

#include "row_printer.h"

#include <algorithm>
#include <ostream>

namespace kotm
{

using namespace ko::store;

namespace
{

/// Throws Error, which names the option, for an attribute that does not exist.
void RequireAttribute(const Schema& schema, const std::string& name, const char* option)
{
    try {
        if (name != kObjectId)
            schema.Place(name);
    } catch (const Error& error) {
        throw Error(error.Code(), std::string(option) + ": " + error.what());
    }
}

/// What is printed: all attributes, where none are named.
std::vector<std::string> ColumnNames(const QueryRequest& request, const Schema& schema)
{
    std::vector<std::string> names = request.columns;
    if (names.empty()) {
        for (const Attribute& attribute : schema.attributes)
            names.push_back(attribute.name);
    }
    if (request.ids && std::find(names.begin(), names.end(), kObjectId) == names.end())
        names.insert(names.begin(), kObjectId);
    return names;
}

} // namespace

void Query(const QueryRequest& request, std::ostream& out)
{
    Snapshot snapshot = Store::Open(request.store).Read();
    const Schema& schema = snapshot.GetSchema();
    for (const std::string& name : request.columns)
        RequireAttribute(schema, name, "--columns");
    for (const auto& [name, format] : request.prints)
        RequireAttribute(schema, name, "--print");
    if (!request.order.empty())
        RequireAttribute(schema, request.order, "--order");
    if (request.count) {
        out << snapshot.Count(request.predicate, request.limit) << '\n';
        return;
    }
    Cursor cursor = snapshot.Select({request.predicate, ColumnNames(request, schema), request.order,
                                     request.descending, request.limit});
    RowPrinter printer(request, cursor.Attributes(), out);
    for (Batch batch = cursor.Next(); !batch.Empty(); batch = cursor.Next())
        printer.Print(batch);
    printer.Finish();
}

} // namespace kotm
