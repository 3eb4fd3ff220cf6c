#include "PageZoom.h"

#include <QWebEngineView>

#include <algorithm>
#include <array>

namespace teskal {

namespace {

constexpr std::array steps{0.5, 0.67, 0.8, 0.9, 1.0, 1.1, 1.25, 1.5, 1.75, 2.0, 2.5, 3.0};

} // namespace

PageZoom::PageZoom(QWebEngineView& view) : view_(&view) {
    // A page that was loaded anew, as after its process ended, begins at its own size.
    connect(&view, &QWebEngineView::loadFinished, this, [this] { view_->setZoomFactor(factor_); });
}

void PageZoom::in() {
    const auto larger = std::upper_bound(steps.begin(), steps.end(), factor_);
    if (larger != steps.end())
        set(*larger);
}

void PageZoom::out() {
    const auto here = std::lower_bound(steps.begin(), steps.end(), factor_);
    if (here != steps.begin())
        set(*(here - 1));
}

void PageZoom::reset() {
    set(1);
}

void PageZoom::set(double factor) {
    factor_ = factor;
    if (view_)
        view_->setZoomFactor(factor);
}

} // namespace teskal
