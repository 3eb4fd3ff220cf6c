#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace teskal::service {

/// A database that cannot be opened, read or written. The text is one sentence without stored data.
class DatabaseError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// One run of a prepared statement. Values are only ever bound, never part of the SQL. Returns the statement
/// to the database for its next use when it goes.
class Query {
public:
    explicit Query(sqlite3_stmt* statement) : statement_(statement) {}
    ~Query();
    Query(const Query&) = delete;
    Query& operator=(const Query&) = delete;

    /// Binds the next placeholder. Text and blobs must outlive the query.
    Query& bind(std::string_view text);
    Query& bind(std::int64_t number);
    Query& bind(double number);
    Query& bind(bool flag) { return bind(std::int64_t{flag}); }
    Query& bind(const char* text) { return bind(std::string_view(text)); }
    Query& bindBlob(std::string_view bytes);

    /// Moves to the next row; false when there is none.
    bool next();
    /// Runs a statement that gives no rows.
    void run();

    /// Columns of the current row. The bytes of text and blobs are copied.
    std::string text(int column) const;
    std::int64_t integer(int column) const;
    double number(int column) const;
    bool isNull(int column) const;

private:
    sqlite3_stmt* statement_;
    int bound_ = 0;
};

/// An open SQLite database with the service's tables, used by one thread at a time.
class Database {
public:
    /// Opens `file`, which is made, readable by its owner alone, when it is not there; an empty name keeps
    /// everything in memory. Throws when the file is not one of ours, is in use, or cannot be opened.
    explicit Database(const std::string& file);
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// A statement ready to be bound. `sql` must be a literal: it is prepared once and found by its address.
    template<typename... Values>
    std::unique_ptr<Query> query(const char* sql, const Values&... values) {
        auto query = std::make_unique<Query>(prepared(sql));
        (query->bind(values), ...);
        return query;
    }
    /// Runs a statement that gives no rows; says how many it changed.
    template<typename... Values>
    int run(const char* sql, const Values&... values) {
        query(sql, values...)->run();
        return changes();
    }

    /// Rows that the last statement changed.
    int changes() const;

private:
    friend class Transaction;
    sqlite3_stmt* prepared(const char* sql);
    void execute(const char* sql);
    std::int64_t pragma(const char* sql);
    void prepareFile();
    void createTables();

    struct Closer {
        void operator()(sqlite3* handle) const;
    };
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };
    std::unique_ptr<sqlite3, Closer> handle_;
    std::map<const void*, std::unique_ptr<sqlite3_stmt, Finalizer>> statements_;
};

/// Several statements that happen together or, when the scope is left without `commit`, not at all.
class Transaction {
public:
    explicit Transaction(Database& database);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void commit();

private:
    Database& database_;
    bool open_ = true;
};

} // namespace teskal::service
