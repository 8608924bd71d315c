// The SQLite wrappers: what the rest of the package relies on when it writes.
#include <gtest/gtest.h>

#include <utility>

#include "package/sqlite/database.h"
#include "package/sqlite/error.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

namespace {

using Sonvik::sqlite::Database;
using Sonvik::sqlite::Error;
using Sonvik::sqlite::Statement;
using Sonvik::sqlite::Transaction;

class SqliteWrapper : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = Database(":memory:");
    db_.Exec("CREATE TABLE t (k INTEGER PRIMARY KEY, name TEXT NOT NULL UNIQUE)");
  }
  int64_t Count() {
    Statement count(db_.get(), "SELECT count(*) FROM t");
    count.Step();
    return count.ColumnInt64(0);
  }
  Database db_;
};

TEST_F(SqliteWrapper, TransactionWithoutCommitRollsBack) {
  {
    Transaction transaction(db_.get());
    db_.Exec("INSERT INTO t (name) VALUES ('a')");
  }
  EXPECT_EQ(Count(), 0);
  {
    Transaction transaction(db_.get());
    db_.Exec("INSERT INTO t (name) VALUES ('a')");
    transaction.Commit();
  }
  EXPECT_EQ(Count(), 1);
}

TEST_F(SqliteWrapper, ExceptionInsideTransactionUndoesEarlierWrites) {
  Statement insert(db_.get(), "INSERT INTO t (name) VALUES (?)");
  try {
    Transaction transaction(db_.get());
    insert.Bind(1, "x");
    insert.Run();
    insert.Reset();
    insert.Bind(1, "x");  // breaks UNIQUE
    insert.Run();
    transaction.Commit();
    FAIL() << "the duplicate was accepted";
  } catch (const Error& e) {
    EXPECT_EQ(e.code(), SQLITE_CONSTRAINT_UNIQUE);
  }
  EXPECT_EQ(Count(), 0);
  // The statement stays usable after the failure.
  insert.Reset();
  insert.Bind(1, "y");
  insert.Run();
  EXPECT_EQ(Count(), 1);
}

TEST_F(SqliteWrapper, StatementRebindsAndReadsColumns) {
  Statement insert(db_.get(), "INSERT INTO t (k, name) VALUES (?, ?)", true);
  insert.BindAll(int64_t{7}, std::string("seven"));
  insert.Run();
  insert.Reset();
  insert.BindAll(8, "eight\xc3\xa9");
  insert.Run();
  Statement select(db_.get(), "SELECT k, name, NULL FROM t ORDER BY k");
  ASSERT_TRUE(select.Step());
  EXPECT_EQ(select.ColumnInt64(0), 7);
  EXPECT_EQ(select.ColumnText(1), "seven");
  EXPECT_TRUE(select.ColumnIsNull(2));
  EXPECT_EQ(select.ColumnText(2), "");
  ASSERT_TRUE(select.Step());
  EXPECT_EQ(select.ColumnText(1), "eight\xc3\xa9");
  EXPECT_FALSE(select.Step());
}

TEST_F(SqliteWrapper, MovedFromObjectsOwnNothing) {
  Statement a(db_.get(), "SELECT 1");
  Statement b = std::move(a);
  EXPECT_EQ(a.get(), nullptr);
  ASSERT_TRUE(b.Step());
  Database other = std::move(db_);
  EXPECT_FALSE(db_);
  EXPECT_TRUE(other);
  db_ = std::move(other);
}

TEST_F(SqliteWrapper, BadSqlAndMissingFileThrowWithMessage) {
  EXPECT_THROW(Statement(db_.get(), "SELEC nonsense"), Error);
  EXPECT_THROW(db_.Exec("DROP TABLE missing"), Error);
  try {
    Database missing("/nonexistent-dir/x.db", SQLITE_OPEN_READWRITE);
    FAIL();
  } catch (const Error& e) {
    EXPECT_NE(std::string(e.what()).find("/nonexistent-dir/x.db"), std::string::npos);
  }
}

}  // namespace
