#include "engine/engine.h"
#include "engine/postgres_address.h"
#include <kostore.h>

#include <gtest/gtest.h>

#include <map>

namespace
{

using ko::store::Error;
using ko::store::ErrorCode;
using namespace ko::store::inner;

TEST(EngineAddress, HidesPasswords)
{
    const struct {
        std::string address;
        std::string shown;
    } kAddresses[] = {
        {"postgresql://u:secret@h/db#s", "postgresql://u:******@h/db#s"},
        {"postgres://u:s%40t@h:1/db", "postgres://u:*****@h:1/db"},
        {"postgresql://u@h/db?a=b&password=secret#s", "postgresql://u@h/db?a=b&password=******#s"},
        {"postgresql:///?sslpassword=x&password=y", "postgresql:///?sslpassword=*&password=*"},
        {"postgresql://u:a@b@h/db", "postgresql://u:***@h/db"},
        {"postgresql://u:a/b@h/db", "postgresql://u:***@h/db"},
        {"postgresql://u:a#b@h/db#s", "postgresql://u:***@h/db#s"},
        // libpq takes all up to the '@' as the password, and unescapes the names of parameters.
        {"postgresql://u:Geh?e@/db", "postgresql://u:*****@/db"},
        {"postgresql://h:1?password=a@b", "postgresql://h:**************"},
        {"postgresql:///db?pass%77ord=secret&a=b", "postgresql:///db?pass%77ord=******&a=b"},
        {" POSTGRESQL://u:secret@h/db", " POSTGRESQL://u:******@h/db"},
        // Nothing to hide.
        {"postgresql://u:@h/db", "postgresql://u:@h/db"},
        {"postgresql://u@h:5433/db?nopassword=x#password=y", ""},
        {"postgresql://h:5433/db", ""},
        {"postgresql://", ""},
        {"/a/u:secret@h", ""},
    };
    for (const auto& c : kAddresses) {
        std::string argument = c.address;
        const bool hidden = ko::store::inner::HidePassword(argument.data());
        EXPECT_EQ(hidden, argument != c.address);
        EXPECT_EQ(argument, c.shown.empty() ? c.address : c.shown);
    }
}

// What is not written as an address asks for it would show parts of a password in messages.
TEST(EngineAddress, RefusesWhatCouldShowAPassword)
{
    for (const char* const address :
         {"postgresql://u:a@secret@h/db", "postgresql://u:a/secret@h/db",
          "postgresql://u:12/secret@h/db", "postgresql://u:secret#b@h/db",
          "postgresql://u:secret/b", "postgresql://u:secret@h:1x/db",
          "postgresql://u:12?schema=secret@h/db", "postgresql://u:12/a?secret=b@h/db",
          "postgresql://h/db?sslmode=%secret", "postgresql://h/db?nokey=secret"}) {
        try {
            EXPECT_EQ(postgres::Address(address).Shown(), "refused");
        } catch (const Error& error) {
            EXPECT_EQ(error.Code(), ErrorCode::Usage);
            EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos) << error.what();
        }
    }
    EXPECT_EQ(postgres::Address("postgresql://u:secret@h:5/d%40b?host=@c&schema=a"
                                "&connect_timeout=3")
                  .Schema(),
              "a");
}

// Taken for a path, they would stand in messages with their password.
TEST(EngineAddress, RefusesOtherWaysToWriteADatabase)
{
    const struct {
        std::string address;
        std::string sentence; ///< a part of it; empty: none
    } kAddresses[] = {
        {" postgresql://u:secret@h/db", "begins with postgresql://"},
        {"host=h password = secret", "begins with postgresql://"},
        {"dbname=db user=secret", "begins with postgresql://"},
        {"postgresql://h/db?sslmod=secret", "\"sslmod\""},
        {"PostgreSQL://u:secret@h/db#s", ""},
        {"user=ann/birds", ""},
        {"nopassword=a", ""},
    };
    for (const auto& c : kAddresses) {
        try {
            NameOfStore(c.address);
            EXPECT_EQ(c.sentence, "") << c.address;
        } catch (const Error& error) {
            const std::string told = error.what();
            EXPECT_EQ(error.Code(), ErrorCode::Usage);
            EXPECT_FALSE(c.sentence.empty()) << told;
            EXPECT_NE(told.find(c.sentence), std::string::npos) << told;
            EXPECT_EQ(told.find("secret"), std::string::npos) << told;
        }
    }
}

TEST(EngineAddress, ChoosesSafeSettings)
{
    const struct {
        const char* address;
        const char* key;
        const char* value; ///< empty: libpq's own
    } kSettings[] = {
        {"postgresql://h/db", "sslmode", "verify-full"},
        {"postgresql://h/db?sslmode=require", "sslmode", "require"},
        {"postgresql://h/db?hostaddr=10.0.0.1", "sslmode", "verify-full"},
        {"postgresql://127.example/db", "sslmode", "verify-full"},
        {"postgresql://127.0.0.1,h/db", "sslmode", "verify-full"},
        {"postgresql:///db?host=/tmp,h", "sslmode", "verify-full"},
        {"postgresql://h/db?service=s", "sslmode", ""},
        {"postgresql:///db", "sslmode", ""},
        {"postgresql:///db?host=/tmp,@here", "sslmode", ""},
        {"postgresql://localhost/db", "sslmode", ""},
        {"postgresql://127.0.0.1,[::1]/db", "sslmode", ""},
        {"postgresql://h/db", "connect_timeout", "10"},
        {"postgresql://h/db?connect_timeout=2", "connect_timeout", "2"},
        {"postgresql://h/db", "keepalives_idle", "30"},
        {"postgresql://h/db", "tcp_user_timeout", "30000"},
        {"postgresql://h/db", "gssencmode", "disable"},
        {"postgresql://h/db?gssencmode=prefer", "gssencmode", "prefer"},
        {"postgresql://h/db?client_encoding=LATIN1", "client_encoding", "UTF8"},
        {"postgresql://h/db?schema=a&application_name=mine#s", "application_name", "mine"},
    };
    for (const char* const variable : {"PGHOST", "PGSSLMODE", "PGSERVICE", "PGHOSTADDR"})
        unsetenv(variable);
    for (const auto& c : kSettings) {
        const postgres::Address address(c.address);
        const std::map<std::string, std::string> settings(address.Parameters().begin(),
                                                          address.Parameters().end());
        const auto found = settings.find(c.key);
        EXPECT_EQ(found == settings.end() ? "" : found->second, c.value) << c.address;
    }
}

} // namespace
