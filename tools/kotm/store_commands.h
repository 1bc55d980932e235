#ifndef KOTM_STORE_COMMANDS_H
#define KOTM_STORE_COMMANDS_H

#include <kostore.h>

#include <iosfwd>
#include <string>

namespace kotm
{

// The commands that work on whole stores. All throw ko::store::Error.

/// Imports under the schema in `request.schemaFile`, and tells `messages` how many rows there were.
ko::store::ImportResult Import(ko::store::ImportRequest request, std::ostream& messages);

/// Looks for damage, tells of it, and returns whether there is none.
bool Check(const std::string& store, std::ostream& out);

/// Makes or drops an index.
void ChangeIndex(const std::string& store, const std::string& attribute, bool drops);

} // namespace kotm

#endif
