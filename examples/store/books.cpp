// Keeps books in a store: books PATH, where nothing is yet.

#include <kostore.h>

#include <iostream>

using namespace ko::store;

namespace
{

constexpr char kSchema[] = R"({"class": "Book", "attributes": [
  {"name": "title", "column": "Title", "type": "KoString", "index": true},
  {"name": "author", "column": "Author", "type": "KoString"},
  {"name": "published", "column": "Published", "type": "KoDate", "format": "%d.%m.%Y"},
  {"name": "copies", "column": "Copies", "type": "KoNull_int", "index": true}]})";

void Run(const std::string& path)
{
    const Store store = Store::Create(path, Schema::FromJson(kSchema, "the schema"));
    const auto walden = store.Insert(
        {{"title", "Walden"}, {"author", "Thoreau"}, {"published", "09.08.1854"}, {"copies", "3"}});

    // Several at once: all of them, or none.
    store.Change([](Transaction& change) {
        change.Insert({{"title", "Emma"}, {"author", "Austen"}, {"copies", "7"}});
        change.Insert({{"title", "Persuasion"}, {"author", "Austen"}, {"copies", "2"}});
    });

    const ko::Value published = store.Find(walden).value().Value("published");
    std::cout << "Walden appeared on " << published << '\n';

    Cursor cursor =
        store.Select({"copies >= 2 and not title = \"W*\"", {"title", "copies"}, "title"});
    for (Batch batch = cursor.Next(); !batch.Empty(); batch = cursor.Next()) {
        for (std::size_t row = 0; row < batch.Rows(); ++row)
            std::cout << batch.Value(row, 0) << ": " << batch.Value(row, 1) << '\n';
    }

    store.Update(walden, {{"copies", "2"}});
    store.Erase(walden + 1);
    std::cout << store.Count("copies = 2") << " with two copies\n";
    try {
        store.Insert({{"title", "Ulysses"}, {"copies", "many"}});
    } catch (const Error& error) {
        std::cout << "refused: " << Visible(error.what()) << '\n';
    }
    const CheckResult result = Check(path, std::cout);
    std::cout << result.objects << " books, " << result.faults << " faults\n";
}

} // namespace

int main(int argc, char** argv)
{
    try {
        Run(argc > 1 ? argv[1] : "books.store");
        return 0;
    } catch (const Error& error) {
        std::cerr << Visible(error.what()) << '\n';
        return static_cast<int>(error.Code());
    }
}
