#include "ModelSettings.h"

#include "SettingRow.h"
#include "SettingsStatus.h"
#include "controls/CardView.h"
#include "controls/InkLabel.h"
#include "controls/Switch.h"
#include "theme/Theme.h"

#include <QVBoxLayout>

#include <algorithm>

namespace teskal {

namespace {

bool areSame(const QList<ModelSwitch>& a, const QList<ModelSwitch>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const ModelSwitch& x, const ModelSwitch& y) {
        return x.id == y.id && x.name == y.name && x.lab == y.lab;
    });
}

} // namespace

ModelSettings::ModelSettings(const Theme& theme, QWidget* parent)
    : SettingsPane(theme, parent), card_(new CardView(theme, this)),
      status_(new SettingsStatus(theme, this)) {
    addHeading(tr("Models"), purpose());
    column().addWidget(card_);
    column().addWidget(status_);
    unsaved_ = addNote(tr("Settings can’t be saved on this deployment."));
    unsaved_->setObjectName(QStringLiteral("unsavedNote"));
    addNote(tr("Teskal only routes to models that are on, including the small helper models that route and "
               "summarise chats. Voice input and read aloud use OpenAI; web searches use Perplexity."));
    column().addStretch(1);
    setState({});
}

QString ModelSettings::purpose() {
    return tr("which models Teskal uses");
}

void ModelSettings::setState(const ModelsState& state) {
    if (!areSame(state.models, shown_))
        rebuild(state.models);
    shown_ = state.models;
    for (int index = 0; index < switches_.size(); ++index) {
        switches_.at(index)->setChecked(state.models.at(index).on);
        switches_.at(index)->setEnabled(state.known && state.enabled);
    }
    card_->setVisible(!state.models.isEmpty());
    unsaved_->setVisible(!state.enabled);
    // What is there already is not in doubt while it is asked for again.
    const bool waits = state.loading && state.models.isEmpty();
    status_->setStatus(waits ? tr("Loading models…") : QString(), state.error);
}

void ModelSettings::rebuild(const QList<ModelSwitch>& models) {
    card_->clear();
    switches_.clear();
    for (const ModelSwitch& model : models) {
        auto* toggle = new Switch(theme());
        toggle->setObjectName(model.id);
        toggle->setAccessibleName(model.name);
        connect(toggle, &QAbstractButton::clicked, this,
                [this, id = model.id](bool on) { Q_EMIT switchRequested(id, on); });
        auto* row = new SettingRow(theme(), model.name, toggle);
        row->setDetail(model.lab);
        card_->addRow(row);
        switches_.append(toggle);
    }
}

} // namespace teskal
