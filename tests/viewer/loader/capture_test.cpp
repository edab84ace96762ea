// SPDX-License-Identifier: GPL-3.0-or-later
#include <QColor>
#include <QRect>

#include "tests/support/wait_until.h"
#include "tests/viewer/loader/loader_fixture.h"

namespace vistrel::test {
namespace {

// A page that is filled by WebGL, and by so much work that the display falls behind.
constexpr std::string_view kPage = R"(<canvas id=c style="display:block"></canvas><script>
    const canvas = document.getElementById("c");
    canvas.width = innerWidth * devicePixelRatio;
    canvas.height = innerHeight * devicePixelRatio;
    canvas.style.width = innerWidth + "px";
    canvas.style.height = innerHeight + "px";
    const gl = canvas.getContext("webgl2");
    const program = gl.createProgram();
    for (const [kind, text] of [[gl.VERTEX_SHADER, `#version 300 es
        layout(location = 0) in vec2 corner;
        void main() { gl_Position = vec4(corner, 0, 1); }`], [gl.FRAGMENT_SHADER, `#version 300 es
        precision highp float;
        uniform vec4 color;
        uniform int work;
        out vec4 result;
        void main() {
            float sum = 0.0;
            for (int i = 0; i < work; ++i) sum += sin(float(i) + gl_FragCoord.x);
            result = color + vec4(min(abs(sum) * 1e-20, 1e-9));
        }`]]) {
        const shader = gl.createShader(kind);
        gl.shaderSource(shader, text);
        gl.compileShader(shader);
        gl.attachShader(program, shader);
    }
    gl.linkProgram(program);
    gl.useProgram(program);
    gl.bindBuffer(gl.ARRAY_BUFFER, gl.createBuffer());
    gl.bufferData(gl.ARRAY_BUFFER, new Float32Array([-1, -1, 3, -1, -1, 3]), gl.STATIC_DRAW);
    gl.enableVertexAttribArray(0);
    gl.vertexAttribPointer(0, 2, gl.FLOAT, false, 0, 0);
    function draw(red, green, blue, work) {
        gl.uniform4f(gl.getUniformLocation(program, "color"), red, green, blue, 1);
        gl.uniform1i(gl.getUniformLocation(program, "work"), work);
        gl.drawArrays(gl.TRIANGLES, 0, 3);
    }
    function drawAndTell(red, green, blue, work) {
        requestAnimationFrame(() => {
            draw(red, green, blue, work);
            requestAnimationFrame(() => console.log("drawn"));
        });
    }
    draw(0, 0, 0, 1);
</script>)";

class LoaderCaptureTest : public LoaderTest {
  protected:
    void SetUp() override { ASSERT_TRUE(browser_.OpenFile(Page("a.html", kPage))); }

    // Draws in the page, and returns as soon as the page has done so.
    void Draw(const std::wstring& arguments) {
        browser_.console.clear();
        browser_.View().ExecuteScript(L"drawAndTell(" + arguments + L")", {});
        ASSERT_TRUE(WaitUntil([&] { return !browser_.console.empty(); }));
        ASSERT_EQ(browser_.console.front(), L"drawn");
    }

    static void ExpectFilled(const QImage& picture, const QColor& color) {
        ASSERT_FALSE(picture.isNull());
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                ASSERT_EQ(picture.pixelColor(x, y), color) << x << ", " << y;
            }
        }
    }
};

TEST_F(LoaderCaptureTest, PictureHoldsWhatWasDrawnLast) {
    for (int i = 1; i <= 20; ++i) {
        Draw(L"0, 0, " + std::to_wstring(i) + L" / 255, 1");
        ExpectFilled(browser_.Capture(), QColor(0, 0, i));
    }
}

TEST_F(LoaderCaptureTest, PictureHoldsWhatWasDrawnLastWithMuchWork) {
    for (int i = 1; i <= 3; ++i) {
        Draw(L"0, " + std::to_wstring(i) + L" / 255, 0, 5000");
        ExpectFilled(browser_.Capture(), QColor(0, i, 0));
    }
}

TEST_F(LoaderCaptureTest, SizeIsThatOfTheViewInDevicePixels) {
    const double ratio = browser_.Window().devicePixelRatio();
    const QSize whole = browser_.Capture().size();
    EXPECT_EQ(whole, QSize(Browser::kWidth, Browser::kHeight) * ratio);
    browser_.Controller().SetBounds(QRect(10, 20, 60, 40));
    ASSERT_TRUE(browser_.Becomes(L"[innerWidth, innerHeight]", L"[60,40]"));
    EXPECT_EQ(browser_.Capture().size(), QSize(60, 40) * ratio);
}

TEST_F(LoaderCaptureTest, TwoPicturesAtOnceAreIndependent) {
    Draw(L"1, 0, 0, 1");
    std::vector<int> order;
    std::vector<std::vector<std::byte>> pictures;
    for (int i = 0; i < 2; ++i) {
        browser_.View().CapturePreview([&, i](bool success, const std::vector<std::byte>& png) {
            EXPECT_TRUE(success);
            order.push_back(i);
            pictures.push_back(png);
        });
    }
    EXPECT_TRUE(order.empty());
    ASSERT_TRUE(WaitUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{0, 1}));
    for (const auto& png : pictures) {
        ExpectFilled(QImage::fromData(reinterpret_cast<const uchar*>(png.data()),
                                      static_cast<int>(png.size())),
                     QColor(255, 0, 0));
    }
}

TEST_F(LoaderCaptureTest, HiddenViewGivesNoPicture) {
    browser_.Controller().SetVisible(false);
    EXPECT_TRUE(browser_.Capture().isNull());
    browser_.Controller().SetVisible(true);
    Draw(L"0, 1, 0, 1");
    ExpectFilled(browser_.Capture(), QColor(0, 255, 0));
}

TEST_F(LoaderCaptureTest, ViewThatIsHiddenMeanwhileGivesWhatItShowedLast) {
    Draw(L"0, 0, 1, 1");
    ExpectFilled(browser_.Capture(), QColor(0, 0, 255));
    std::vector<std::vector<std::byte>> pictures;
    for (int i = 0; i < 2; ++i) {
        browser_.View().CapturePreview([&](bool success, const std::vector<std::byte>& png) {
            EXPECT_TRUE(success);
            pictures.push_back(png);
        });
    }
    browser_.Controller().SetVisible(false);
    EXPECT_TRUE(pictures.empty());
    ASSERT_TRUE(WaitUntil([&] { return pictures.size() == 2; }));
    for (const auto& png : pictures) {
        ExpectFilled(QImage::fromData(reinterpret_cast<const uchar*>(png.data()),
                                      static_cast<int>(png.size())),
                     QColor(0, 0, 255));
    }
}

TEST_F(LoaderCaptureTest, ViewWithoutSizeGivesNoPicture) {
    browser_.Controller().SetBounds(QRect(0, 0, 0, 150));
    EXPECT_TRUE(browser_.Capture().isNull());
    browser_.Controller().SetBounds(QRect(0, 0, 10, -20));
    EXPECT_TRUE(browser_.Capture().isNull());
}

TEST_F(LoaderCaptureTest, PageThatHangsIsTakenAsItIs) {
    Draw(L"1, 0, 0, 1");
    ExpectFilled(browser_.Capture(), QColor(255, 0, 0));
    browser_.View().ExecuteScript(L"for (;;) {}", {});
    ExpectFilled(browser_.Capture(), QColor(255, 0, 0));
}

TEST_F(LoaderCaptureTest, CaptureLeavesNothingInThePage) {
    const std::wstring before = browser_.Run(L"document.documentElement.outerHTML");
    browser_.Capture();
    EXPECT_EQ(browser_.Run(L"document.documentElement.outerHTML"), before);
    EXPECT_TRUE(browser_.console.empty());
}

TEST_F(LoaderCaptureTest, ViewHasTheWindowsColourBeforeAPage) {
    Browser fresh(folder_ / "other");
    ExpectFilled(fresh.Widget()->grab().toImage(), QColor(30, 30, 46));
    ExpectFilled(fresh.Capture(), QColor(30, 30, 46));
}

}  // namespace
}  // namespace vistrel::test
