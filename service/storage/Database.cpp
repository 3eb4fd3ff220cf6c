#include "storage/Database.h"

#include "storage/Schema.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

namespace teskal::service {

namespace {

/// How long to wait for another process to let go of the file, ms. A service whose owner was killed lives
/// on for a moment.
constexpr int patience = 3000;

[[noreturn]] void fail(sqlite3* handle) {
    if (sqlite3_errcode(handle) == SQLITE_BUSY)
        throw DatabaseError("it is in use by another service");
    throw DatabaseError(sqlite3_errmsg(handle));
}

[[noreturn]] void fail(sqlite3_stmt* statement) {
    fail(sqlite3_db_handle(statement));
}

void makePrivateFile(const std::string& file) {
    const int fd = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (fd < 0)
        throw DatabaseError("it cannot be opened");
    ::close(fd);
}

} // namespace

Query::~Query() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
}

Query& Query::bind(std::string_view text) {
    // An empty view may point nowhere, which would bind NULL.
    const char* data = text.empty() ? "" : text.data();
    if (sqlite3_bind_text64(statement_, ++bound_, data, text.size(), SQLITE_STATIC, SQLITE_UTF8) != SQLITE_OK)
        fail(statement_);
    return *this;
}

Query& Query::bind(std::int64_t number) {
    if (sqlite3_bind_int64(statement_, ++bound_, number) != SQLITE_OK)
        fail(statement_);
    return *this;
}

Query& Query::bind(double number) {
    if (sqlite3_bind_double(statement_, ++bound_, number) != SQLITE_OK)
        fail(statement_);
    return *this;
}

Query& Query::bindBlob(std::string_view bytes) {
    const char* data = bytes.empty() ? "" : bytes.data();
    if (sqlite3_bind_blob64(statement_, ++bound_, data, bytes.size(), SQLITE_STATIC) != SQLITE_OK)
        fail(statement_);
    return *this;
}

bool Query::next() {
    const int result = sqlite3_step(statement_);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        fail(statement_);
    return result == SQLITE_ROW;
}

void Query::run() {
    while (next()) {
    }
}

std::string Query::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column));
    return bytes ? std::string(bytes, size) : std::string{};
}

std::int64_t Query::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

double Query::number(int column) const {
    return sqlite3_column_double(statement_, column);
}

bool Query::isNull(int column) const {
    return sqlite3_column_type(statement_, column) == SQLITE_NULL;
}

void Database::Closer::operator()(sqlite3* handle) const {
    sqlite3_close_v2(handle);
}

void Database::Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Database::Database(const std::string& file) {
    if (!file.empty())
        makePrivateFile(file);
    sqlite3* handle = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int result = sqlite3_open_v2(file.empty() ? ":memory:" : file.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    if (result != SQLITE_OK)
        throw DatabaseError("it cannot be opened");
    sqlite3_busy_timeout(handle, patience);
    prepareFile();
}

Database::~Database() = default;

/// Looks whose file it is before anything is written to it.
void Database::prepareFile() {
    // One service per file: two would not see each other's sign-ins. Taken with the first lock.
    execute("PRAGMA locking_mode = EXCLUSIVE");
    const bool isEmpty = pragma("SELECT count(*) FROM sqlite_schema") == 0;
    if (!isEmpty && pragma("PRAGMA application_id") != schema::applicationId)
        throw DatabaseError("it is the database of another program");
    const std::int64_t version = pragma("PRAGMA user_version");
    if (!isEmpty && version != schema::version)
        throw DatabaseError("it was written by another version of this service (layout " +
                            std::to_string(version) + ", not " + std::to_string(schema::version) + ")");
    execute("PRAGMA journal_mode = WAL");
    execute("PRAGMA synchronous = NORMAL");
    execute("PRAGMA foreign_keys = ON");
    if (isEmpty)
        createTables();
    else
        execute("BEGIN IMMEDIATE; COMMIT"); // takes the lock now rather than at the first request
}

void Database::createTables() {
    Transaction transaction(*this);
    execute(schema::tables);
    execute(("PRAGMA application_id = " + std::to_string(schema::applicationId)).c_str());
    execute(("PRAGMA user_version = " + std::to_string(schema::version)).c_str());
    transaction.commit();
}

int Database::changes() const {
    return sqlite3_changes(handle_.get());
}

sqlite3_stmt* Database::prepared(const char* sql) {
    auto& statement = statements_[sql];
    if (!statement) {
        sqlite3_stmt* made = nullptr;
        if (sqlite3_prepare_v3(handle_.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr) !=
            SQLITE_OK)
            fail(handle_.get());
        statement.reset(made);
    }
    return statement.get();
}

void Database::execute(const char* sql) {
    if (sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail(handle_.get());
}

std::int64_t Database::pragma(const char* sql) {
    Query query(prepared(sql));
    return query.next() ? query.integer(0) : 0;
}

Transaction::Transaction(Database& database) : database_(database) {
    database_.execute("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (open_)
        sqlite3_exec(database_.handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit() {
    database_.execute("COMMIT");
    open_ = false;
}

} // namespace teskal::service
