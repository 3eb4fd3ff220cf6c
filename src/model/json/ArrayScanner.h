#pragma once

#include <QByteArray>

#include <optional>

namespace teskal::json {

/// Cuts a JSON array into the texts of its elements without parsing them, so that a large file is read
/// element by element. Only strings and brackets are looked at; each element is still to be validated by
/// whoever parses it. Throws JsonError when the text is not one array.
class ArrayScanner {
public:
    /// \a text must outlive the scanner and what it returns.
    explicit ArrayScanner(QByteArrayView text);

    /// The text of the next element; none at the end of the array.
    std::optional<QByteArrayView> next();

private:
    void skipSpace();
    void skipValue();
    void skipString();
    char peek() const;
    [[noreturn]] void fail() const;

    QByteArrayView text_;
    qsizetype at_ = 0;
    bool first_ = true;
    bool done_ = false;
};

} // namespace teskal::json
