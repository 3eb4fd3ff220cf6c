#pragma once

#include "HttpSession.h"
#include "Scope.h"

#include <QImage>
#include <QObject>
#include <QUrl>

#include <optional>

namespace teskal {

/// The picture that the provider's profile names, as small as it is shown. Only https is asked for (and
/// this machine by http), without anything that tells who asks. What cannot be had is no picture.
/// Main thread only.
class ProfilePicture final : public QObject {
    Q_OBJECT

public:
    /// \a http must outlive this object.
    explicit ProfilePicture(HttpSession& http) : http_(http) {}

    /// Loads the picture at \a url; none, or one that cannot be loaded, is the null image.
    void setSource(const std::optional<QString>& url);
    const QImage& image() const { return image_; }

Q_SIGNALS:
    void changed();

private:
    QCoro::Task<void> load(QUrl url, std::stop_token stop);
    void setImage(const QImage& image);

    HttpSession& http_;
    std::optional<QString> source_;
    QImage image_;
    Job job_;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
