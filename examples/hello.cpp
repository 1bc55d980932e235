// Values of any type from text to bytes and back, safely: texts are read strictly and as UTF-8,
// every result is looked at, and what is wrong is told in a sentence.
//
//     hello                      a date and a text
//     hello TYPE TEXT [FORMAT]   one of your own; try: hello o_double abc

#include <ko.hpp>

#include <iostream>

namespace
{

/// Reads a value, stores it, loads it again and prints it with its bytes.
bool Show(const char* typeName, const char* text, const char* format)
{
    const auto type = ko::Type::Find(typeName);
    if (!type) {
        std::cerr << "No type is called " << typeName << ". These are there:";
        for (const ko::Type known : ko::Type::All())
            std::cerr << ' ' << known.Name();
        std::cerr << '\n';
        return false;
    }
    // The whole text must be a value of the type, in the format if there is one.
    const auto value = ko::Value::Parse(*type, text, format);
    if (!value) {
        std::cerr << "No " << type->Name() << ": " << text << ": " << value.error() << '\n';
        for (const char* sample :
             {"12.5", "12", "00FF", "x", "TRUE", "2024-02-29", "23:59:58", "2024-02-29T23:59:58",
              "1.02:03:04", "(1-2#3)", "(1v2)", "(1:2-3#4,5v6)", "#1", "0123456789AB"}) {
            if (const auto read = ko::Value::Parse(*type, sample)) {
                std::cerr << "It should look like " << read->Text(format).value_or(sample) << '\n';
                break;
            }
        }
        return false;
    }
    const ko::BytesView stored = value->Stored(); // the same on every machine
    // Bytes from a file or the network are validated before they become a value.
    const auto loaded = ko::Value::Load(*type, stored);
    if (!loaded || *loaded != *value)
        return false;
    std::cout << type->Name() << ' ' << *loaded << " in " << stored.size() << " bytes:";
    for (const std::byte byte : stored)
        std::cout << ' ' << std::hex << std::to_integer<unsigned>(byte) << std::dec;
    std::cout << '\n';
    return true;
}

} // namespace

int main(int count, char** words)
{
    if (count == 2 || count > 4) {
        std::cerr << "usage: hello [TYPE TEXT [FORMAT]]\n";
        return 2;
    }
    const bool isShown = count > 2 ? Show(words[1], words[2], count == 4 ? words[3] : nullptr)
                                   : Show("KoDate", "2024-02-29", nullptr) &&
                                         Show("KoString", "caf\xC3\xA9", nullptr);
    return isShown ? 0 : 1;
}
