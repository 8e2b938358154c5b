#include "app/ElidedLabel.h"

#include "tests/app/Painting.h"

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

#include <gtest/gtest.h>

namespace corvane {

namespace {

class ElidedLabelTest : public testing::Test {
protected:
    ElidedLabelTest() {
        QPalette colours = label.palette();
        colours.setColor(QPalette::WindowText, QColor(1, 2, 3));
        colours.setColor(QPalette::Disabled, QPalette::WindowText, QColor(4, 5, 6));
        label.setPalette(colours);
    }
    int widthOf(const QString &text) const { return label.fontMetrics().horizontalAdvance(text); }
    /// The words as they are painted with room for so many lines of such a width.
    std::string painted(const QString &text, int width, int height) {
        label.setText(text);
        label.resize(width, height);
        return Painting::of(label);
    }

    ElidedLabel label;
    const int line = label.fontMetrics().lineSpacing();
};

TEST_F(ElidedLabelTest, WritesInTheColourOfItsPalette) {
    EXPECT_EQ(painted("Short", 200, line), "'Short' #ff010203\n");
    label.setEnabled(false);
    EXPECT_EQ(painted("Short", 200, line), "'Short' #ff040506\n");
}

TEST_F(ElidedLabelTest, HasAsManyLinesAsThereIsRoomFor) {
    const QString text = "one two one two one two";
    const int width = widthOf("one two") + 1;
    const std::string cut = label.fontMetrics().elidedText(text, Qt::ElideRight, width).toStdString();
    const std::string rest =
        label.fontMetrics().elidedText("one two one two", Qt::ElideRight, width).toStdString();
    EXPECT_EQ(painted(text, width, 1), "'" + cut + "' #ff010203\n") << "always one";
    EXPECT_EQ(painted(text, width, 2 * line - 1), "'" + cut + "' #ff010203\n");
    EXPECT_TRUE(label.isElided());
    EXPECT_EQ(painted(text, width, 2 * line), "'one two ' #ff010203\n'" + rest + "' #ff010203\n");
    EXPECT_TRUE(label.isElided());
    EXPECT_EQ(painted(text, width, 3 * line),
              "'one two ' #ff010203\n'one two ' #ff010203\n'one two' #ff010203\n");
    EXPECT_FALSE(label.isElided());
}

TEST_F(ElidedLabelTest, AWordThatIsLongerThanALineIsBroken) {
    const QString word(40, 'x');
    painted(word, widthOf(word) - 1, 2 * line);
    EXPECT_FALSE(label.isElided());
    painted(word, widthOf(word) / 2 - 1, 2 * line);
    EXPECT_TRUE(label.isElided());
}

TEST_F(ElidedLabelTest, ATextThatFitsStandsInTheMiddleAsInAnyLabel) {
    QLabel other("Short");
    other.setPalette(label.palette());
    for (const int lines : {1, 2, 3, 4}) {
        painted("Short", 200, lines * line);
        other.resize(label.size());
        EXPECT_EQ(label.grab().toImage(), other.grab().toImage()) << lines;
    }
}

TEST_F(ElidedLabelTest, AHoverOverItIsNotOneOverWhatItStandsIn) {
    QWidget around;
    around.setToolTip("Around");
    label.setParent(&around);
    label.setText("Short");
    label.resize(200, line);
    around.resize(300, 100);
    around.show();
    const auto hover = [&] {
        QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), label.mapToGlobal(QPoint(5, 5)));
        QApplication::sendEvent(&label, &event);
        return QToolTip::text().toStdString();
    };
    EXPECT_EQ(hover(), "");
    label.setDetail("Detail");
    EXPECT_EQ(hover(), "<p style='white-space:pre'>Detail</p>");
    EXPECT_EQ(label.accessibleDescription(), "Detail");
    label.resize(10, line);
    EXPECT_EQ(hover(), "<p style='white-space:pre'>Short\n\nDetail</p>");
    label.setParent(nullptr);
}

} // namespace

} // namespace corvane
