#pragma once

class QWidget;

namespace teskal {

/// Makes what is drawn with OpenGL.
class OpenGlParts {
public:
    virtual ~OpenGlParts() = default;

    /// A hidden child of \a parent, empty.
    virtual void addHiddenChild(QWidget& parent) = 0;
};

} // namespace teskal
