#include "support/data_file.h"

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

// As the file says and explains.
TEST(EngineAddress, HidesPasswordsAndChoosesSafeSettings)
{
    for (const char* const variable : {"PGHOST", "PGSSLMODE", "PGSERVICE", "PGHOSTADDR"})
        unsetenv(variable);
    data::ForEachRow("addresses.txt", 4, [](const auto& head, const data::Row& row) {
        if (head[0] == "shown") {
            std::string argument = row[0];
            EXPECT_EQ(ko::store::inner::HidePassword(argument.data()), row[1] != "=");
            EXPECT_EQ(argument, row[1] == "=" ? row[0] : row[1]);
        } else if (head[0] == "refused") {
            try {
                EXPECT_EQ(postgres::Address(row[0]).Shown(), "refused");
            } catch (const Error& error) {
                EXPECT_EQ(error.Code(), ErrorCode::Usage);
                EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
            }
        } else {
            const postgres::Address address(row[0]);
            const std::map<std::string, std::string> settings(address.Parameters().begin(),
                                                              address.Parameters().end());
            const auto found = settings.find(row[1]);
            EXPECT_EQ(found == settings.end() || found->second.empty() ? "-" : found->second,
                      row[2]);
        }
    });
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

} // namespace
