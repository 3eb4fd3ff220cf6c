#pragma once

#include <QByteArray>
#include <QString>

#include <exception>

namespace teskal {

/// A failure with the text that the user reads: short sentences that end with a full stop.
class Error : public std::exception {
public:
    explicit Error(QString text) : text_(std::move(text)), utf8_(text_.toUtf8()) {}

    const QString& text() const { return text_; }
    const char* what() const noexcept override { return utf8_.constData(); }

private:
    QString text_;
    QByteArray utf8_;
};

} // namespace teskal
