#ifndef KO_TEST_STORE_SAMPLE_H
#define KO_TEST_STORE_SAMPLE_H

#include "store/test_files.h"

#include "import/importer.h"

/// Imports the first rows of the sample.
inline void ImportSample(const std::string& store, unsigned rows)
{
    std::ifstream sample(KOTM_EXAMPLES "/birdstrikes.csv");
    std::string csv;
    std::string line;
    for (unsigned i = 0; i <= rows && std::getline(sample, line); ++i)
        csv += line + "\n";
    const TestFolder folder;
    std::ostringstream messages;
    const std::string schema = ReadAll(KOTM_EXAMPLES "/birdstrikes.schema.json");
    ko::store::inner::Import({store, folder.Write("csv", csv), {}},
                             ko::store::inner::Schema::FromJson(schema, "schema"), messages);
}

#endif
