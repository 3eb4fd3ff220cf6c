#include "DisabledModels.h"

#include <algorithm>

namespace teskal {

bool isModelOn(const QStringList& disabled, const ModelOption& model) {
    return std::none_of(model.ids.begin(), model.ids.end(),
                        [&](const QString& id) { return disabled.contains(id); });
}

QStringList toggled(QStringList disabled, const ModelOption& model, bool on) {
    disabled.removeIf([&](const QString& id) { return model.ids.contains(id); });
    if (!on)
        disabled += model.ids;
    disabled.sort();
    disabled.removeDuplicates();
    return disabled;
}

} // namespace teskal
