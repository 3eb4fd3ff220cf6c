#include "Module.h"
#include "OpenGlParts.h"

#include <QOpenGLWidget>

namespace teskal {

namespace {

class WidgetParts final : public OpenGlParts {
public:
    void addHiddenChild(QWidget& parent) override { (new QOpenGLWidget(&parent))->hide(); }
};

} // namespace

} // namespace teskal

TESKAL_MODULE(teskal::OpenGlParts, teskal::WidgetParts)
