// Reading what today's programs write. Each text is read in each of the ways that there are, cut into chunks of all
// sizes and with several threads: the result is the same.
#include "glm/glm_call.h"
#include "glm/glm_try.h"
#include "model_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";  // four lines

std::string textOf(std::uint32_t index) { return index == GLM_NO_INDEX ? "-" : std::to_string(index); }

std::string textOf(const float* numbers, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        char number[32];
        std::snprintf(number, sizeof number, i > 0 ? ",%g" : "%g", static_cast<double>(numbers[i]));
        text += number;
    }
    return text;
}

std::string textOf(const GLMelementcorner& corner) {
    std::string text = textOf(corner.position);
    if (corner.texcoord == GLM_NO_INDEX && corner.normal == GLM_NO_INDEX) return text;
    text += "/" + textOf(corner.texcoord);
    return corner.normal == GLM_NO_INDEX ? text : text + "/" + textOf(corner.normal);
}

// The triangles of each group with their states, then the elements.
std::string facesOf(const GLMmodel& model, const GLMextras& extras) {
    std::string text;
    const auto states = [&](std::uint32_t object, std::uint32_t smoothing, std::uint32_t material) {
        if (object != GLM_NO_INDEX) text += " o" + textOf(object);
        if (smoothing != 0) text += " s" + std::to_string(smoothing);
        if (material != 0) text += " m" + textOf(material);
    };
    for (std::uint32_t g = 0; g < extras.numgroups; ++g) {
        const GLMgroup* const group = glmFindGroup(&model, extras.groupnames[g]);
        if (g > 0 || group->numtriangles > 0) text += "[" + std::string(group->name) + "]";
        for (std::uint32_t i = 0; i < group->numtriangles; ++i) {
            const std::uint32_t t = group->triangles[i];
            const GLMtriangle& triangle = model.triangles[t];
            EXPECT_EQ(triangle.findex, t + 1);
            for (int k = 0; k < 3; ++k)
                text += (k > 0 ? " " : "") + textOf(GLMelementcorner{.position = triangle.vindices[k],
                                                                     .texcoord = triangle.tindices[k],
                                                                     .normal = triangle.nindices[k]});
            states(extras.objects != nullptr ? extras.objects[t] : GLM_NO_INDEX,
                   extras.smoothing != nullptr ? extras.smoothing[t] : 0, triangle.material);
            text += ";";
        }
    }
    for (std::uint32_t i = 0; i < extras.numelements; ++i) {
        const GLMelement& element = extras.elements[i];
        text += "plf"[static_cast<int>(element.kind)];
        for (std::uint32_t k = 0; k < element.count; ++k) text += " " + textOf(extras.corners[element.first + k]);
        if (element.group != 0) text += " g" + textOf(element.group);
        states(element.object, element.smoothing, element.material);
        text += ";";
    }
    return text;
}

std::string numbersOf(const GLMmodel& model, const GLMextras& extras) {
    std::string text;
    const auto add = [&](const char* keyword, const float* numbers, std::size_t size, std::uint32_t count) {
        for (std::size_t i = 1; i <= count && numbers != nullptr; ++i)
            text += keyword + textOf(numbers + size * i, size) + " ";
    };
    add("v", model.vertices, 3, model.numvertices);
    add("c", extras.colors, 3, model.numvertices);
    add("t", model.texcoords, 2, model.numtexcoords);
    add("n", model.normals, 3, model.numnormals);
    for (std::uint32_t i = 0; i < extras.numobjects; ++i) text += "o" + std::string(extras.objectnames[i]) + " ";
    for (std::uint32_t i = 0; i < extras.numlibraries; ++i) text += "[" + std::string(extras.libraries[i]) + "]";
    return text;
}

struct Result {
    std::string numbers, faces, messages;
    bool operator==(const Result&) const = default;
};

void keep(void* data, const GLMwarning& warning) {
    const std::string_view file = warning.file;
    *static_cast<std::string*>(data) += std::string(file.substr(file.rfind('/') + 1)) + ":" +
                                        std::to_string(warning.line) + ": " + warning.text + " x" +
                                        std::to_string(warning.count) + "\n";
}

Result read(const GLMmodelsource& source, GLMoptions options, unsigned threads, std::size_t chunk) {
    Result result;
    GLMextras* extras = nullptr;
    options.extras = &extras;
    options.threads = threads;
    options.data = &result.messages;
    options.warn = keep;
    GLMcall call;
    GLMerror error{};
    __glmLetReturn(call, &error, options);
    call.chunk = chunk;
    call.baseline = source.file != nullptr;
    const std::unique_ptr<GLMmodel, decltype(&glmFree)> model(__glmTryRead(call, source), glmFree);
    EXPECT_EQ(model == nullptr, extras == nullptr);
    if (model == nullptr) return {"", "", std::to_string(error.line) + ": " + error.text};
    result.numbers = numbersOf(*model, *extras);
    result.faces = facesOf(*model, *extras);
    glmFreeExtras(extras);
    return result;
}

// Reads memory without room behind it, for the sanitizer, the file, and a stream as it comes, in chunks of all sizes.
Result readInAllWays(const std::string& path, const std::string& text, const GLMoptions& options = {}) {
    const std::vector<char> bytes(text.begin(), text.end());
    const GLMmodelsource memory{.path = path.c_str(), .file = nullptr, .bytes = bytes.data(), .size = bytes.size()};
    const GLMmodelsource file{.path = path.c_str(), .file = nullptr, .bytes = nullptr, .size = 0};
    const Result result = read(file, options, 1, 0);
    for (const std::size_t chunk : {1, 2, 3, 5, 7, 11, 17, 31, 64, 100}) {
        EXPECT_EQ(read(memory, options, 3, chunk), result) << chunk << text;
        EXPECT_EQ(read(file, options, 1, chunk), result) << chunk << text;
        if (text.empty()) continue;
        std::string copy = text;
        const std::unique_ptr<std::FILE, decltype(&std::fclose)> stream(fmemopen(copy.data(), copy.size(), "r"),
                                                                        std::fclose);
        const GLMmodelsource pipe{.path = path.c_str(), .file = stream.get(), .bytes = nullptr, .size = 0};
        EXPECT_EQ(read(pipe, options, 1, chunk), result) << chunk << text;
    }
    return result;
}
Result readInAllWays(const std::string& text, const GLMoptions& options = {}) {
    const ModelFiles files(text, "newmtl red\nnewmtl light blue\n");
    return readInAllWays(files.path, text, options);
}

std::string replaced(std::string text, std::string_view what, std::string_view by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

}  // namespace

TEST(Lines, Faces) {
    const struct {
        std::string text, faces;
    } cases[] = {
        {"f 1 2 3\nf\t1  2\t3 4 \n", "[default]1 2 3;1 2 3;1 3 4;"},
        {"vt 0 0\nvn 0 0 1\nf 1/1/1 2/1 3//1\nf 1/1/ 2// 3/#x\nf -4/-1/-1 -3//-1 -2/-1#y",
         "[default]1/1/1 2/1 3/-/1;1/1 2 3;1/1/1 2/-/1 3/1;"},
        {"f \\\n1 2\\\n \\\n3\nf 1 2 3\\\n\n# no more \\\nf 1 2 3 # \\\nf 1 2 3",
         "[default]1 2 3;1 2 3;1 2 3;1 2 3;"},
        {"g\ng  a b #1 \t\nf 1 2 3\ng c\\\nd\nf 1 2 4\ng a b #1\nf 2 3 4\ng default\nf 1 2 3",
         "[default]1 2 3;[a b #1]1 2 3;2 3 4;[c d]1 2 4;"},
        {"s 1\nf 1 2 3\no a\ns off\nf 1 2 3\n o b\ns 4294967295\nf 1 2 3\ns\nf 1 2 3\ns on\nf 1 2 3",
         "[default]1 2 3 s1;1 2 3 o0;1 2 3 o1 s4294967295;1 2 3 o1;1 2 3 o1 s1;"},
        {"usemtl light blue \ng a\nf 1 2 3\nusemtl red\nf 1 2 3\nmtllib m.mtl\nl 1 2 3\np 4 1\np 2\nf 1 2",
         "[a]1 2 3 m2;1 2 3 m1;l 1 2 3 g1 m1;p 4 1 g1 m1;p 2 g1 m1;"},
    };
    for (const auto& test : cases) {
        const std::string text = POINTS + test.text;
        EXPECT_EQ(readInAllWays(text).faces, test.faces) << text;
        EXPECT_EQ(readInAllWays("\xef\xbb\xbf" + replaced(text, "\n", "\r\n")).faces, test.faces) << text;
        EXPECT_EQ(readInAllWays(replaced(text, "\n", "\r")).faces, test.faces) << text;
    }
    GLMoptions polygons;
    polygons.polygons = true;
    EXPECT_EQ(readInAllWays(POINTS + "o a\nf 1 2 3 4\nl 1 2\nf 1 2\nf 1 2 3", polygons).faces,
              "f 1 2 3 4 o0;l 1 2 o0;f 1 2 3 o0;");
    // The first corner does not see the third.
    EXPECT_EQ(readInAllWays(POINTS + "vt 0 0\nv .9 .1 0\nf 1/1 2 3 -1").faces, "[default]5 1/1 2;2 3 5;");
    // What comes after the faces, colours and materials with the last of them.
    EXPECT_EQ(readInAllWays("f 1/1 2 4//1\nusemtl red\nf 1/7/0 2 3\ng a\nusemtl gone\nf 1 2 3\nusemtl red\n" +
                            POINTS + "v 0 0 0 0 0 0\no a\nvt 1\nvn 1 1 1\ns 1\nmtllib m.mtl")
                  .messages,
              "3: glmReadOBJ: Got \"1/7/0\" as a corner of \"f\", whose texture coordinate is not there");
    const std::string late = "usemtl red\nf 1//1 2/0 4\ng a\nusemtl gone\nf 1 2 3\nusemtl red\n";
    EXPECT_EQ(readInAllWays(late + POINTS + "vn 1 1 1\no a\ns 1\nf 1 2 3\nmtllib m.mtl").faces,
              "[default]1/-/1 2 4 m1;[a]1 2 3;1 2 3 o0 s1 m1;");
    // Relative indices count from where they stand, whatever follows.
    EXPECT_EQ(readInAllWays(POINTS + "f -1 -2 5\nv 5 5 5\nf -1 -2 1").faces, "[default]4 3 5;5 4 1;");
}

TEST(Lines, Numbers) {
    const struct {
        std::string text, numbers;
    } cases[] = {
        {"v 1 2 3 4\nv +1 -2. .5e1 # 7 8 9\n v -1.#IND00 1.#QNAN 1.#INF\nv 1e99 -1e-99 inf",
         "v1,2,3 v1,-2,5 v-nan,nan,inf vinf,-0,inf "},
        {"v 1 2 3 .1 .2 .3\nv 1 2 3 1 .4 .5 .6 9\nv 1 2 3 1\nv 1 2 3 x y z",
         "v1,2,3 v1,2,3 v1,2,3 v1,2,3 c0.1,0.2,0.3 c0.4,0.5,0.6 c1,1,1 c1,1,1 "},
        {"vt 1\nvt 1 2 3\nvn 1 2 3 4\nv 1 2\\\n 3\no a b\no", "v1,2,3 t1,0 t1,2 n1,2,3 oa b o "},
        {"v 1 2 -1.#IND \\\nv 3\nv 1 2 3 # 1.\\\nv 1 2 3 4.#INF\\\n", "v1,2,-nan v1,2,3 v1,2,3 "},
    };
    for (const auto& test : cases) EXPECT_EQ(readInAllWays(test.text).numbers, test.numbers) << test.text;
    // As the C library reads them, with up to ten digits on each side of the point.
    std::string text;
    std::vector<float> expected;
    std::mt19937 random(1);
    for (int i = 0; i < 6000; ++i) {
        const std::string digits = std::to_string(random()), more = std::to_string(random());
        const std::string number = (i % 3 == 0 ? "-" : "") +
                                   digits.substr(std::min<std::size_t>(i % 11, digits.size())) + "." +
                                   more.substr(std::min<std::size_t>(i / 11 % 11, more.size()));
        if (number.find_first_of("0123456789") == std::string::npos) continue;
        text += "v " + number + " 1 1\n";
        expected.push_back(std::strtof(number.c_str(), nullptr));
    }
    const std::unique_ptr<GLMmodel, decltype(&glmFree)> model(glmTryReadMemory(text.data(), text.size(), ""),
                                                              glmFree);
    ASSERT_TRUE(model != nullptr && model->numvertices == expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(model->vertices[3 * (i + 1)], expected[i]) << i;
}

TEST(Lines, Errors) {
    const std::string got = "glmReadOBJ: Got ";
    const struct {
        std::string text, error;
    } cases[] = {
        {"", "0: glmReadOBJ: no statement of an OBJ file in it"},
        {"\xff\xfev", "1: glmReadOBJ: the file is UTF-16 text; save it as UTF-8"},
        {"# f 1 2 3\nvx 1\n\x89PNG", "0: glmReadOBJ: no statement of an OBJ file in it"},
        {"v 1 2 3\nv 1 2 # 3\nv x", "2: " + got + "nothing instead of number 3 of \"v\""},
        {"\n\\\n\nvn 1 2,5 3", "4: " + got + "\"2,5\" instead of number 2 of \"vn\""},
        {"v 1 2 3x", "1: " + got + "\"3x\" instead of number 3 of \"v\""},
        {POINTS + "# \\\n\\\nf 1 2 5 # x", "7: " + got + "\"5\" as a corner of \"f\", whose position is not there"},
        {POINTS + "f 1 2 -5", "5: " + got + "\"-5\" as a corner of \"f\", whose position is not there"},
        {POINTS + "f 1 2 99999999999999999999",
         "5: " + got + "\"99999999999999999999\" as a corner of \"f\", whose position is not there"},
        {POINTS + "f 1 2 3 4.5", "5: " + got + "\"4.5\" as a corner of \"f\""},
        {POINTS + "l 1 2 3 4/x", "5: " + got + "\"4/x\" as a corner of \"l\""},
        {POINTS + "vt 0\r\nf 1/1 2/2 3/1",
         "6: " + got + "\"2/2\" as a corner of \"f\", whose texture coordinate is not there"},
        {POINTS + "vn 0 0 1\rf 1//1 2//-2 3//1",
         "6: " + got + "\"2//-2\" as a corner of \"f\", whose normal is not there"},
    };
    for (const auto& test : cases) EXPECT_EQ(readInAllWays(test.text).messages, test.error) << test.text;
}

TEST(Lines, Warnings) {
    const std::string reader = ": glmReadOBJ: ";
    const struct {
        std::string text, warnings;
    } cases[] = {
        {"\nvp 1\nv 1 2 3\ncstype bezier\nbevel on\nend", "m.obj:2" + reader + "curves and surfaces skipped x3\n"},
        {"v 1 2 3\nCurve 1\nx 1", "m.obj:2" + reader + "unknown statements skipped, the first is \"Curve\" x2\n"},
        {POINTS + "f 1/7 2/8/0 3\nf 1 2 3\ns x",
         "m.obj:7" + reader + "\"s\" without a number, taken as off x1\nm.obj:5" + reader +
             "corner of a texture coordinate that is not there, taken as none x2\nm.obj:5" + reader +
             "corner of a normal that is not there, taken as none x1\n"},
        {"usemtl\nmtllib\n\\\n\nusemtl  no such \nusemtl no such",
         "m.obj:2" + reader + "\"mtllib\" without a name ignored x1\nm.obj:1" + reader +
             "\"usemtl\" without a name, taken as the default material x1\nm.obj:5: glmFindMaterial():  can't find material \"no such\". x2\n"},
        {"v 1 2 3\np\nl 1", "m.obj:2" + reader + "element with too few corners skipped x2\n"},
    };
    for (const auto& test : cases) EXPECT_EQ(readInAllWays(test.text).messages, test.warnings) << test.text;
}

// A file whose name has blanks, others in the same statement, one that is not there; each once.
TEST(Lines, Libraries) {
    const std::string text =
        "mtllib a b.mtl m.mtl gone one.mtl # x\nmtllib m.mtl\nmtllib c d\nusemtl a\nusemtl b\nusemtl c\nf 1 1 1\nv 1 2 3";
    const ModelFiles files(text, "newmtl b\n");
    files.folder.write("a b.mtl", "newmtl a\n");
    files.folder.write("c", "newmtl c\n");
    const Result result = readInAllWays(files.path, text);
    EXPECT_EQ(result.faces, "[default]1 1 1 m3;");
    EXPECT_EQ(result.numbers, "v1,2,3 [a b.mtl][m.mtl][gone one.mtl][c][d]");
    const std::string missing = ": glmReadMTL: can't open material file \"";
    EXPECT_EQ(result.messages, "m.obj:1" + missing + files.at("gone one.mtl") + "\" x1\nm.obj:3" + missing +
                                   files.at("d") + "\" x1\n");
}

// Lines that are longer than what is held of the file at once.
TEST(Lines, OfAnyLength) {
    constexpr std::uint32_t CORNERS = 300000;
    std::string text = "#" + std::string(1000000, '-') + "\ng " + std::string(1000000, 'n') + "\n" + POINTS + "f";
    for (std::uint32_t i = 0; i < CORNERS; ++i) text += " " + std::to_string(1 + i % 4);
    text += "\nf 1 2 3x\n";
    const GLMmodelsource source{.path = "", .file = nullptr, .bytes = text.data(), .size = text.size()};
    EXPECT_EQ(read(source, {}, 2, 1000).messages, "8: glmReadOBJ: Got \"3x\" as a corner of \"f\"");
    text.resize(text.size() - std::strlen("x\n"));
    const std::unique_ptr<GLMmodel, decltype(&glmFree)> model(glmTryReadMemory(text.data(), text.size(), ""),
                                                              glmFree);
    ASSERT_TRUE(model != nullptr && model->numtriangles == CORNERS - 1);
    EXPECT_EQ(std::strlen(model->groups->name), 1000000u);
}
