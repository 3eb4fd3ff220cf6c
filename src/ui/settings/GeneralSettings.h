#pragma once

#include "SettingsPane.h"
#include "theme/Appearance.h"

namespace teskal {

class CardView;
class PrimaryButton;
class SegmentedPicker;
class SettingRow;
class SettingsStatus;

/// What the general pane shows.
struct GeneralState {
    bool signedIn = false;
    QString name;           ///< of whoever is signed in
    bool signingIn = false; ///< the sign-in is under way elsewhere
    QString error;          ///< why the last sign-in came to nothing
    bool hasChats = false;  ///< there is an account whose chats can be deleted

    friend bool operator==(const GeneralState&, const GeneralState&) = default;
};

/// The look of the application, the account, and the chats that are kept on this computer.
class GeneralSettings : public SettingsPane {
    Q_OBJECT

public:
    explicit GeneralSettings(const Theme& theme, QWidget* parent = nullptr);

    void setAppearance(Appearance appearance);
    void setState(const GeneralState& state);

Q_SIGNALS:
    void appearanceChosen(teskal::Appearance appearance);
    void signInRequested();
    void signOutRequested();
    void revealRequested();
    /// The user has not been asked yet whether they mean it.
    void deleteAllRequested();

private:
    void addAppearance();
    void addAccount();
    void addData();

    SegmentedPicker* picker_ = nullptr;
    SettingRow* account_ = nullptr;
    QWidget* noAccount_ = nullptr;
    PrimaryButton* signIn_ = nullptr;
    SettingsStatus* status_ = nullptr;
    QPushButton* deleteAll_ = nullptr;
};

} // namespace teskal
