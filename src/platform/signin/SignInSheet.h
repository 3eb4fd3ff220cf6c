#pragma once

#include <QDialog>
#include <QUrl>

class QLabel;
class QStackedLayout;
class QWebEngineProfile;
class QWebEngineView;

namespace teskal {

class SignInPage;

/// A window-modal sheet with the provider's page. It says which host it shows. `rejected` is the user closing
/// it.
class SignInSheet final : public QDialog {
    Q_OBJECT
public:
    /// \a profile must outlive the sheet.
    SignInSheet(QWebEngineProfile& profile, const QUrl& page, QWidget* parent);
    ~SignInSheet() override;

    /// The provider sends the user back: the sheet is through.
    void finish(const QUrl& link);

Q_SIGNALS:
    /// Once.
    void calledBack(const QUrl& link);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void onLoadFinished(bool ok);
    void load();

    QUrl url_;
    QWebEngineView* view_;
    SignInPage* page_;
    QLabel* host_;
    QStackedLayout* stack_;
    QWidget* failure_;
    bool calledBack_ = false;
};

} // namespace teskal
