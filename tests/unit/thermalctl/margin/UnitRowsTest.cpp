#include "margin/UnitRows.h"

#include <fcntl.h>

#include <fstream>
#include <numeric>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "support/FullDisk.h"
#include "support/SysfsDir.h"

namespace {

using Table = std::vector<std::vector<int32_t>>; // columns

class UnitRowsTest : public testing::Test {
protected:
  static constexpr size_t kColumns = 3;

  // A row has its number, the same below 0, and one in the thousands.
  static std::vector<int32_t> rowAt(size_t number) {
    const auto one = static_cast<int32_t>(number);
    return {one, -one, 1000 * one};
  }

  static Table tableOf(size_t rows) {
    Table table(kColumns);
    for (size_t i = 0; i < rows; ++i)
      for (size_t column = 0; column < kColumns; ++column)
        table[column].push_back(rowAt(i)[column]);
    return table;
  }

  UnitSpool filled(size_t rows) {
    UnitSpool spool(folder.node(""), kColumns);
    for (size_t i = 0; i < rows; ++i)
      spool.add(rowAt(i));
    return spool;
  }

  static Table read(const UnitRows& rows, const std::vector<size_t>& which) {
    Table table(which.size());
    rows.eachBlock(which, [&](size_t before, size_t count, const Table& values) {
      EXPECT_LE(count, UnitRows::kBlock);
      for (size_t i = 0; i < which.size(); ++i) {
        EXPECT_EQ(before, table[i].size());
        EXPECT_EQ(count, values[i].size());
        table[i].insert(table[i].end(), values[i].begin(), values[i].end());
      }
    });
    return table;
  }

  static std::string bytes(const UnitRows& rows) {
    std::string all;
    rows.copyTo([&](std::string_view part) { all += part; });
    return all;
  }

  SysfsDir folder;
};

TEST_F(UnitRowsTest, AllRowsComeBackInOrderWhereverABlockEnds) {
  constexpr size_t kBlock = UnitRows::kBlock;
  for (const size_t count : {size_t{0}, size_t{1}, kBlock - 1, kBlock, kBlock + 1, 2 * kBlock}) {
    UnitSpool spool = filled(count);
    EXPECT_EQ(spool.rows().rows(), count);
    EXPECT_EQ(read(spool.rows(), {0, 1, 2}), tableOf(count)) << count;
  }
}

TEST_F(UnitRowsTest, SomeColumnsAreReadInTheOrderThatIsAskedFor) {
  const Table all = tableOf(5000);
  EXPECT_EQ(read(filled(5000).rows(), {2, 0}), (Table{all[2], all[0]}));
  size_t rows = 0;
  filled(5000).rows().eachBlock({}, [&](size_t, size_t count, const Table&) { rows += count; });
  EXPECT_EQ(rows, 5000U);
}

TEST_F(UnitRowsTest, MoreMayBeAddedAfterALook) {
  UnitSpool spool(folder.node(""), kColumns);
  size_t added = 0;
  for (const size_t until : {size_t{3}, UnitRows::kBlock - 1, UnitRows::kBlock + 2}) {
    while (added < until)
      spool.add(rowAt(added++));
    EXPECT_EQ(read(spool.rows(), {0, 1, 2}), tableOf(until));
  }
}

TEST_F(UnitRowsTest, PiecesOfFilesAreOneTable) {
  UnitSpool first = filled(4100);
  const std::string head = "a head of its own\n";
  folder.write("part", head + bytes(first.rows()) + bytes(filled(2).rows()));
  const FileHandle file(::open(folder.node("part").c_str(), O_RDONLY | O_CLOEXEC));
  UnitRows rows{kColumns, {{file.get(), static_cast<int64_t>(head.size()), 4100}}};
  EXPECT_EQ(rows.bytesOf(rows.pieces[0]), 4100 * 3 * 4);
  UnitRows::Piece second = rows.pieces[0];
  second.at += rows.bytesOf(second);
  second.rows = 2;
  rows.pieces.push_back(second);
  rows.pieces.push_back(first.rows().pieces[0]);
  EXPECT_EQ(rows.rows(), 8202U);
  Table expected = tableOf(4100);
  for (size_t column = 0; column < kColumns; ++column)
    for (const size_t count : {size_t{2}, size_t{4100}})
      for (size_t i = 0; i < count; ++i)
        expected[column].push_back(rowAt(i)[column]);
  EXPECT_EQ(read(rows, {0, 1, 2}), expected);
  EXPECT_EQ(bytes(rows), bytes(first.rows()) + bytes(filled(2).rows()) + bytes(first.rows()));
}

TEST_F(UnitRowsTest, AFileThatEndsTooSoonIsRefused) {
  UnitSpool spool = filled(10);
  UnitRows rows = spool.rows();
  ++rows.pieces[0].rows;
  const auto codeOf = [](const auto& reading) {
    try {
      reading();
    } catch (const std::system_error& error) {
      EXPECT_NE(std::string(error.what()).find("a file of units cannot be read"),
                std::string::npos);
      return error.code();
    }
    return std::error_code();
  };
  EXPECT_EQ(codeOf([&] { bytes(rows); }), std::errc::io_error);
  EXPECT_EQ(codeOf([&] { read(rows, {2}); }), std::errc::io_error);
  rows.pieces[0].fd = -1;
  EXPECT_EQ(codeOf([&] { read(rows, {0}); }), std::errc::bad_file_descriptor);
}

TEST_F(UnitRowsTest, AFolderThatIsNotThereAndADiskThatIsFullAreTold) {
  EXPECT_THROW(UnitSpool("/nowhere/at/all", 1), std::system_error);
  UnitSpool spool = filled(10);
  const FullDisk disk;
  EXPECT_THROW(spool.rows(), std::system_error);
  const auto fill = [&] {
    for (size_t i = 0; i < UnitRows::kBlock; ++i)
      spool.add(rowAt(i));
  };
  EXPECT_THROW(fill(), std::system_error);
}

} // namespace
