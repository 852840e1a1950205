// SPDX-License-Identifier: BSD-3-Clause
#include "toolkits/OurDrawing.h"

#include <QApplication>
#include <QImage>
#include <QOpenGLWidget>
#include <QPainter>

using namespace Veltrand;

namespace {

// Paints with Qt, then with the library, then with Qt again.
class Widget final : public QOpenGLWidget {
public:
    Widget() = default;
    Widget(const Widget&) = delete;
    Widget& operator=(const Widget&) = delete;
    ~Widget() override {
        makeCurrent();
        GL::deinit();
    }

private:
    void initializeGL() override { GL::init(GL::ContextGLX::adoptCurrent()); }
    void paintGL() override {
        QPainter painter(this);
        painter.fillRect(0, 0, 48, 16, Qt::green);
        painter.beginNativePainting();
        Testing::drawOurs(64, 64);
        painter.endNativePainting();
        painter.fillRect(0, 32, 48, 16, Qt::green);
    }
};

} // namespace

TEST(QtWidget, SharesItsContextWithTheLibrary) {
    QSurfaceFormat format;
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    QSurfaceFormat::setDefaultFormat(format);
    int count = 1;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    const QApplication application(count, arguments);
    Widget widget;
    widget.setFixedSize(64, 64);
    widget.show();
    for (int frame = 0; frame < 2; ++frame) {
        const QImage image = widget.grabFramebuffer();
        EXPECT_EQ(image.pixelColor(8, 8), QColor(Qt::green));
        EXPECT_EQ(image.pixelColor(40, 8), QColor(Qt::blue));
        EXPECT_EQ(image.pixelColor(40, 40), QColor(Qt::green));
    }
}
