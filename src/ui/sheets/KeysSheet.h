#pragma once

#include "SheetFrame.h"

#include <QList>
#include <QString>

class QLineEdit;

namespace teskal {

class CardView;
class CopyButton;
class InkLabel;
class SettingsStatus;

/// One key of the list.
struct KeyRow {
    QString id;
    QString name;
    QString detail; ///< its visible start and its age
    bool revoking = false;

    friend bool operator==(const KeyRow&, const KeyRow&) = default;
};

/// What the keys sheet shows.
struct KeysState {
    QList<KeyRow> keys;
    bool known = false;   ///< the service has told the keys
    bool enabled = true;  ///< this deployment can keep keys
    bool loading = false; ///< the keys are being asked for
    bool creating = false;
    QString secret; ///< of the key just made; empty when there is none to show
    QString error;

    friend bool operator==(const KeysState&, const KeysState&) = default;
};

/// The keys for calling the service from other programs, and how to call it.
class KeysSheet : public SheetFrame {
    Q_OBJECT

public:
    KeysSheet(const Theme& theme, QWidget& window);

    /// The service's address, without a slash at its end, for the sample.
    void setService(const QString& baseUrl);
    void setState(const KeysState& state);
    /// Forgets what was typed.
    void reset();

Q_SIGNALS:
    void createRequested(const QString& name);
    void revokeRequested(const QString& id);
    void copyRequested(const QString& text);

private:
    void addIntroduction();
    void addSample();
    void addKeys();
    QWidget* makeCreation();
    QWidget* makeSecret();
    void rebuild(const QList<KeyRow>& keys);

    InkLabel* sample_ = nullptr;
    CopyButton* copySample_ = nullptr;
    InkLabel* noStorage_ = nullptr;
    QWidget* list_ = nullptr; ///< everything that needs key storage
    CardView* card_ = nullptr;
    InkLabel* none_ = nullptr;
    QLineEdit* name_ = nullptr;
    QPushButton* create_ = nullptr;
    QWidget* secretCard_ = nullptr;
    InkLabel* secret_ = nullptr;
    CopyButton* copySecret_ = nullptr;
    SettingsStatus* status_ = nullptr;
    QList<KeyRow> shown_;
    bool creating_ = false;
};

} // namespace teskal
