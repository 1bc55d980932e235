#include <ko.h>
#include <stdio.h>

/* Finds a type by its name, reads two values from text, stores, compares and prints them. */
int main(void)
{
    const char* const texts[2] = {"2024-02-29", "2024-01-01"};
    const int date = ko_type("KoDate");
    unsigned char stored[2][16];
    char shown[64];
    size_t sizes[2] = {16, 16}, length = sizeof shown, at = 0;
    int order = 0;
    ko_status status = KO_OK;
    for (int i = 0; i < 2 && status == KO_OK; ++i)
        status = ko_pack(date, texts[i], 10, "%Y-%m-%d", KO_BIG, stored[i], &sizes[i], &at);
    if (status == KO_OK)
        status =
            ko_compare(date, stored[0], sizes[0], stored[1], sizes[1], KO_PLAIN, KO_BIG, &order);
    if (status == KO_OK)
        status = ko_text(date, stored[0], sizes[0], KO_BIG, NULL, shown, &length);
    if (status == KO_OK)
        return printf("%s comes %s\n", shown, order > 0 ? "after" : "before") < 0;
    return fprintf(stderr, "%s (byte %lu)\n", ko_status_text(status), (unsigned long)at), 1;
}
