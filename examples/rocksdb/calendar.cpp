// A calendar in RocksDB, whose keys are dates in their own order: no glue, ko_rocksdb.h has it.
//
//     c++ -std=c++20 calendar.cpp $(pkg-config --cflags --libs kotms rocksdb) -o calendar
//     ./calendar FOLDER 2024-02-29 "leap day" -0044-03-15 "the ides of March"
//
// Puts the days with their texts into the database in FOLDER, and prints what it holds, in order.

#include <ko_rocksdb.h>
#include <rocksdb/db.h>

#include <iostream>
#include <memory>

namespace
{

rocksdb::Slice SliceOf(ko::BytesView bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
ko::BytesView BytesOf(const rocksdb::Slice& slice)
{
    return std::as_bytes(std::span(slice.data(), slice.size()));
}

bool Put(rocksdb::DB& database, ko::Type date, const char* day, const char* text)
{
    const auto key = ko::Value::Parse(date, day);
    if (!key) {
        std::cerr << day << ": " << key.error() << '\n';
        return false;
    }
    return database.Put({}, SliceOf(key->Stored()), text).ok();
}

/// Every entry, the earliest day first; false where a key is damaged, which come last.
bool Print(rocksdb::DB& database, ko::Type date)
{
    bool isSound = true;
    const std::unique_ptr<rocksdb::Iterator> entry(database.NewIterator({}));
    for (entry->SeekToFirst(); entry->Valid(); entry->Next()) {
        const auto day = ko::Value::Load(date, BytesOf(entry->key()));
        if (day)
            std::cout << *day << ' ' << entry->value().ToString() << '\n';
        else
            std::cerr << "a damaged key: " << day.error() << '\n';
        isSound = isSound && day;
    }
    return isSound && entry->status().ok();
}

} // namespace

int main(int count, char** words)
{
    const auto date = ko::Type::Find("KoDate");
    if (!date || count < 2 || count % 2 != 0) {
        std::cerr << "usage: calendar FOLDER [DAY TEXT]...\n";
        return 2;
    }
    static const ko::RocksDbComparator byDate(*date);
    rocksdb::Options options;
    options.create_if_missing = true;
    options.comparator = &byDate;
    rocksdb::DB* opened = nullptr;
    const rocksdb::Status status = rocksdb::DB::Open(options, words[1], &opened);
    const std::unique_ptr<rocksdb::DB> database(opened);
    if (!status.ok()) {
        std::cerr << status.ToString() << '\n';
        return 1;
    }
    bool isDone = true;
    for (int i = 2; i + 1 < count; i += 2)
        isDone = Put(*database, *date, words[i], words[i + 1]) && isDone;
    return Print(*database, *date) && isDone ? 0 : 1;
}
