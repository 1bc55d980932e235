#include <iostream>
#include <ko.hpp>

// Finds a type by its name, reads two values from text, stores, compares and prints them.
int main()
{
    const auto date = ko::Type::Find("KoDate");
    if (!date)
        return 1;
    const auto leapDay = ko::Value::Parse(*date, "2024-02-29", "%Y-%m-%d");
    const auto newYear = ko::Value::Parse(*date, "2024-01-01", "%Y-%m-%d");
    if (!leapDay || !newYear) {
        std::cerr << (leapDay ? newYear : leapDay).error() << '\n';
        return 1;
    }
    const ko::BytesView stored = leapDay->Stored(); // for a file or a database
    const auto loaded = ko::Value::Load(*date, stored);
    std::cout << *leapDay << " takes " << stored.size() << " bytes and comes "
              << (loaded && *newYear < *loaded ? "after " : "before ") << *newYear << '\n';
}
