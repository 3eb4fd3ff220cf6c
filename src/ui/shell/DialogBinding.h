#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

#include <functional>

class QLineEdit;

namespace teskal {

class AppModel;
class ConfirmDialog;
class MainWindow;
class ModalCard;
class NameDialog;

/// Shows the model's questions as dialogs over the window, and does what the user answers. A question that
/// the model drops takes its dialog away.
class DialogBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    DialogBinding(AppModel& model, MainWindow& window);

    /// Asks before all of \a ids are deleted.
    void askToDelete(const QStringList& ids);

private:
    using Dialog = QPointer<ModalCard>;

    void showRenaming();
    void showChatDelete();
    void showFolderPrompt();
    void showFolderDelete();
    ConfirmDialog* confirm(Dialog& place, const QString& title, const QString& message);
    NameDialog* askName(Dialog& place, const QString& title, QLineEdit* field, const QString& submit);
    void open(Dialog& place, ModalCard* dialog);
    void close(Dialog& place);
    /// The first line, as long as there is room for in a dialog.
    [[nodiscard]] QString shown(const QString& title) const;

    AppModel& model_;
    MainWindow& window_;
    Dialog renaming_;
    Dialog chatDelete_;
    Dialog folderPrompt_;
    Dialog folderDelete_;
};

} // namespace teskal
