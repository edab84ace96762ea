// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/text_label.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QHelpEvent>
#include <QImage>
#include <QRect>
#include <QToolTip>

#include "ui/theme.h"

namespace vistrel {
namespace {

constexpr const char* kLongName = "a_photograph_with_a_name_that_is_much_longer_than_its_label.jpg";

class TextLabelTest : public testing::Test {
  protected:
    TextLabelTest() {
        label.setFont(SmallFont());
        label.resize(200, 16);
    }
    // Where something is drawn in the label, which is drawn in an area with room all around.
    [[nodiscard]] QRect Ink() {
        QImage image(label.width() + 100, label.height() + 40, QImage::Format_RGB32);
        image.fill(Qt::black);
        label.render(&image, {50, 20}, {}, {});
        QRect ink;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                if (image.pixelColor(x, y) != QColor(Qt::black)) ink |= QRect(x, y, 1, 1);
            }
        }
        return ink.translated(-50, -20);
    }

    TextLabel label{(ApplyTheme(), nullptr)};  // colours come first
};

TEST_F(TextLabelTest, ShortTextFits) {
    label.setText("photo.jpg");
    EXPECT_TRUE(label.Fits());
    EXPECT_FALSE(Ink().isEmpty());
}

TEST_F(TextLabelTest, LongNameIsShortenedAndKeepsItsEnd) {
    label.setText(kLongName);
    EXPECT_FALSE(label.Fits());
    EXPECT_EQ(label.text(), kLongName);
    EXPECT_LE(Ink().right(), 200);
    const QImage one = label.grab().toImage();
    label.setText(QString(kLongName).replace(".jpg", ".png"));
    EXPECT_NE(label.grab().toImage(), one);
}

TEST_F(TextLabelTest, MarkupAndMnemonicsAreShownAsTheyStand) {
    label.setText("a&b<i>c</i>");
    const int whole = Ink().width();
    label.setText("abc");
    EXPECT_GT(whole, 2 * Ink().width());
}

TEST_F(TextLabelTest, LettersOfALowLabelAreNotCutOff) {
    label.setFont(BoldFont());
    label.setText("\u2014 \u00c9Qgjpqy \u2014");
    for (const int height : {16, 24, 40}) {
        label.resize(200, height);
        EXPECT_GE(Ink().top(), -1) << height;  // the accent's edge
        EXPECT_LT(Ink().bottom(), height) << height;
    }
}

TEST_F(TextLabelTest, ThreeLinesFitIntoTheStatusLabel) {
    label.setWordWrap(true);
    label.resize(266, 42);
    label.setText("gjpqy\ngjpqy\ngjpqy");
    EXPECT_TRUE(label.Fits());
    EXPECT_LT(Ink().bottom(), 42);
    EXPECT_GT(Ink().bottom(), 34);
}

TEST_F(TextLabelTest, TextThatNeedsMoreLinesIsShortened) {
    label.setWordWrap(true);
    label.resize(150, 42);
    label.setText(kLongName);
    EXPECT_TRUE(label.Fits());  // broken where there is no blank
    label.setText(QString(kLongName) + kLongName);
    EXPECT_FALSE(label.Fits());
    EXPECT_LT(Ink().bottom(), 42);
    EXPECT_LE(Ink().right(), 150);
}

TEST_F(TextLabelTest, DisabledTextIsFaint) {
    label.setText("photo.jpg");
    const QImage enabled = label.grab().toImage();
    label.setEnabled(false);
    EXPECT_NE(label.grab().toImage(), enabled);
}

TEST_F(TextLabelTest, PointerOverAShortenedTextShowsTheWholeOne) {
    QHelpEvent pointed(QEvent::ToolTip, {10, 8}, {10, 8});
    label.setText("photo.jpg");
    QCoreApplication::sendEvent(&label, &pointed);
    EXPECT_EQ(QToolTip::text(), "");
    label.setText(kLongName);
    QCoreApplication::sendEvent(&label, &pointed);
    EXPECT_EQ(QToolTip::text(), kLongName);
    QToolTip::hideText();
}

}  // namespace
}  // namespace vistrel
