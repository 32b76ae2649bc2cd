/// @file dump_records.h  Reads and writes the records of a dump file, without the code under test.
#ifndef DUMP_RECORDS_H
#define DUMP_RECORDS_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/plain_message_parser.h"

struct DumpRecord {
    int type;
    std::string payload;

    bool operator==(const DumpRecord&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const DumpRecord& record)
    {
        return out << "type " << record.type << ", " << record.payload.size() << " bytes";
    }
};

inline std::string dump_record(int type, const std::string& payload)
{
    std::string record = "\xD4\xD2\xD3" + std::string(1, static_cast<char>(type)) + std::string(4, '\0');
    const auto length = static_cast<std::uint32_t>(payload.size());
    const auto* bytes = reinterpret_cast<const unsigned char*>(payload.data());
    for (const std::uint32_t word : {length, bitwise_crc32(bytes, static_cast<int>(length))}) {
        for (int shift = 0; shift < 32; shift += 8) record += static_cast<char>(word >> shift & 0xFF);
    }
    return record + payload;
}

/// All whole records from the start on; `rest` takes what follows them.
inline std::vector<DumpRecord> dump_records(const std::string& file, std::string* rest = nullptr)
{
    std::vector<DumpRecord> records;
    std::size_t at = 0;
    while (at + 16 <= file.size()) {
        std::uint32_t length;
        std::memcpy(&length, &file[at + 8], sizeof length);
        if (length > file.size() - at - 16) break;
        const DumpRecord record = {static_cast<unsigned char>(file[at + 3]), file.substr(at + 16, length)};
        if (file.compare(at, 16 + length, dump_record(record.type, record.payload)) != 0) break;
        records.push_back(record);
        at += 16 + length;
    }
    if (rest != nullptr) *rest = file.substr(at);
    return records;
}

#endif
