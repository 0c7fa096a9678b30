#include "mixed_platform.h"
#include "view/panel_view.h"

#include <QImage>

#include <gtest/gtest.h>

namespace sim::test {
namespace {

// The form's icon, 32 by 32 and 16 by 16 (and 48 by 48 for larger screens), each drawn for its size:
// away from the rounded corners every pixel is wholly the tile or wholly a bar, none a blend of a larger
// drawing scaled down.
TEST(FormIcon, TheWindowShowsCrispImagesOfSixteenThirtyTwoAndFortyEightPixels) {
    MixedForm f;
    view::PanelView view{f.p, f.op};
    const QIcon icon = view.windowIcon();
    for (int size : {16, 32, 48}) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(icon.availableSizes().contains(QSize(size, size)));
        const QImage image =
            icon.pixmap(QSize(size, size), 1.0).toImage().convertToFormat(QImage::Format_ARGB32);
        ASSERT_EQ(image.size(), QSize(size, size));
        const int corner = size / 4;
        int white = 0;
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const bool inCorner =
                    (x < corner || x >= size - corner) && (y < corner || y >= size - corner);
                const QRgb px = image.pixel(x, y);
                if (inCorner) {
                    continue;
                }
                EXPECT_TRUE(px == qRgb(255, 255, 255) || px == qRgb(0, 0, 128))
                    << x << "," << y << " is " << std::hex << px;
                white += px == qRgb(255, 255, 255) ? 1 : 0;
            }
        }
        EXPECT_GT(white, size * size / 8) << "both bars are there";
    }
}

} // namespace
} // namespace sim::test
