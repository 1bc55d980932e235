#ifndef REPORTS_H
#define REPORTS_H

#include <kobase.h>

#include <string>

/// While it lives, the library's assertions are written down and not printed.
class Reports
{
public:
    Reports()
    {
        s_texts.clear();
        s_count = 0;
        KoSetAssertHandler([](const char* text, const char* file, int line) {
            s_texts += std::string(text) + "|" + file + "|" + std::to_string(line) + ";";
            ++s_count;
        });
    }
    Reports(const Reports&) = delete;
    Reports& operator=(const Reports&) = delete;
    ~Reports() { KoSetAssertHandler(nullptr); }

    int Count() const { return s_count; }
    /// Each with the file and line that it names, between bars and before a semicolon.
    const std::string& Texts() const { return s_texts; }

private:
    static inline std::string s_texts;
    static inline int s_count;
};

#endif
