#pragma once

#include "AccountSettings.h"

namespace teskal {

/// Whether \a model is on: none of its identifiers is in \a disabled.
bool isModelOn(const QStringList& disabled, const ModelOption& model);

/// The list \a disabled, sorted, after \a model was switched: on takes all of its identifiers out, off puts
/// them in.
QStringList toggled(QStringList disabled, const ModelOption& model, bool on);

} // namespace teskal
