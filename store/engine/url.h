#ifndef KO_ENGINE_URL_H
#define KO_ENGINE_URL_H

#include <cstddef>
#include <string>
#include <string_view>

namespace ko::store::inner
{

/// True for a connection URL, whose scheme may be in any case: the address of a database.
bool IsUrl(std::string_view address);
/// True for what is no such URL but another way to write one, which may hold a password: with
/// blanks before it, or as settings like `host=h password=p`.
bool LooksLikeDatabase(std::string_view address);
/// Of a URL: the first byte behind its `//`.
std::size_t BehindScheme(std::string_view url);
/// Of a URL: the last `@` before the first `/` behind its `//`, or npos. What is before it is user
/// and password, whatever else stands there.
std::size_t EndOfUser(std::string_view url);
/// With the bytes that a URL writes as %xx.
std::string Unescape(std::string_view text);

} // namespace ko::store::inner

#endif
