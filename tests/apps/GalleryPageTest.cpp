// SPDX-License-Identifier: BSD-3-Clause
#include "apps/AppTest.h"

#include "gallery/CodeMarkup.h"
#include "gallery/GalleryPage.h"

namespace Veltrand::Apps {
namespace {

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

TEST(GalleryPage, HoldsEachPictureBesideItsLines) {
    const TemporaryDirectory directory;
    GalleryPage page;
    page.facts = {{"Volume", "a<b> & \"c\""}};
    for (const Picture& picture : allPictures())
        page.entries.push_back({&picture,
                                directory.write(std::string(picture.name) + ".png", "abcd"),
                                {160, 90},
                                1.234,
                                "What is <seen>"});
    const std::string html = page.html();

    EXPECT_EQ(count(html, "<dd>a&lt;b&gt; &amp; &quot;c&quot;</dd>"), 1U);
    for (const char* part : {"<figure>", "src=\"data:image/png;base64,YWJjZA==\"", "1.23 s</li>", "<pre ",
                             "alt=\"What is &lt;seen&gt;\""})
        EXPECT_EQ(count(html, part), allPictures().size()) << part;
    for (const char* elsewhere : {"src=\"h", "://", "<script", "<link", "url(", "@import"})
        EXPECT_EQ(count(html, elsewhere), 0U) << elsewhere;
    for (const Picture& picture : allPictures()) {
        const std::size_t begin = html.find("<section id=\"" + std::string(picture.name) + "\"");
        ASSERT_NE(begin, std::string::npos) << picture.name;
        const std::string section = html.substr(begin, html.find("</section>", begin) - begin);
        EXPECT_EQ(count(section, picture.data.empty() ? "</pre>" : "<a href=\"picking.json\">"), 1U);
        EXPECT_GT(count(section, "<li><code>GL::"), 0U) << picture.name << " shows nothing of the library";
        const std::size_t code = section.find("<pre ");
        const std::size_t lines = count(section.substr(code, section.find("</pre>") - code), "\n");
        EXPECT_TRUE(lines >= 8 && lines <= 25) << picture.name << " has " << lines << " lines";
    }

    std::filesystem::remove(page.entries.back().file);
    EXPECT_THROW((void)page.html(), std::runtime_error);
}

TEST(CodeMarkup, TellsCommentsLiteralsKeywordsAndTheLibraryApart) {
    const std::string code = "const auto x = GL::Texture::f(\"a\\\"<GL::No>\", 'b', 0x1F); // GL::No & more\n"
                             "autonomous(x9, GL::Texture(GL::create()));\n";
    EXPECT_EQ(codeAsHtml(code),
              "<span class=\"keyword\">const</span> <span class=\"keyword\">auto</span> x = "
              "<span class=\"library\">GL::Texture</span>::f("
              "<span class=\"literal\">&quot;a\\&quot;&lt;GL::No&gt;&quot;</span>, "
              "<span class=\"literal\">'b'</span>, <span class=\"literal\">0x1F</span>); "
              "<span class=\"comment\">// GL::No &amp; more</span>\n"
              "autonomous(x9, <span class=\"library\">GL::Texture</span>("
              "<span class=\"library\">GL::create</span>()));\n");
    EXPECT_EQ(libraryNames(code), (std::vector<std::string_view>{"GL::Texture", "GL::create"}));
    // Code that ends within a token.
    for (const char* cut : {"GL::", "\"a", "\"a\\", "'", "// a", "1"})
        EXPECT_EQ(count(codeAsHtml(cut), "<span"), 1U) << cut;
}

} // namespace
} // namespace Veltrand::Apps
