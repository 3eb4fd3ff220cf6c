#include "KeysBinding.h"

#include "AppModel.h"
#include "MainWindow.h"
#include "sheets/KeysSheet.h"

#include <QDateTime>
#include <QLocale>

namespace teskal {

namespace {

KeyRow rowOf(const APIKey& key, const ApiKeys& keys) {
    KeyRow row;
    row.id = key.id;
    row.name = key.name.simplified();
    const QDate made = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(key.createdAt)).date();
    row.detail = QStringLiteral("%1…  %2").arg(
        key.prefix.simplified(), QLocale(QLocale::English).toString(made, QStringLiteral("MMM d, yyyy")));
    row.revoking = keys.isRevoking(key.id);
    return row;
}

KeysState stateOf(const ApiKeys& keys) {
    KeysState state;
    for (const APIKey& key : keys.keys())
        state.keys.append(rowOf(key, keys));
    state.known = keys.isKnown();
    state.enabled = keys.isEnabled();
    state.loading = keys.isLoading();
    state.creating = keys.isCreating();
    state.secret = keys.secret();
    state.error = keys.error();
    return state;
}

} // namespace

KeysBinding::KeysBinding(AppModel& model, MainWindow& window) : model_(model), window_(window) {
    connect(&model.keys(), &ApiKeys::changed, this, &KeysBinding::show);
}

SheetFrame& KeysBinding::prepare() {
    if (!sheet_)
        makeSheet();
    sheet_->reset();
    model_.loadKeys();
    show();
    return *sheet_;
}

void KeysBinding::makeSheet() {
    sheet_ = new KeysSheet(window_.theme(), window_);
    sheet_->setService(model_.services().config.baseURL.toString(QUrl::StripTrailingSlash));
    connect(sheet_, &KeysSheet::createRequested, &model_, &AppModel::createKey);
    connect(sheet_, &KeysSheet::revokeRequested, &model_, &AppModel::revokeKey);
    connect(sheet_, &KeysSheet::copyRequested, this,
            [this](const QString& text) { model_.services().copyText(text); });
}

void KeysBinding::show() {
    if (sheet_)
        sheet_->setState(stateOf(model_.keys()));
}

} // namespace teskal
