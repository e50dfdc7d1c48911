// Reading and writing with errors that return: they say what and where, and leave nothing behind.
#include "glm/glm_arrays.h"
#include "glm/glm_call.h"
#include "glm/glm_try.h"
#include "model_files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

// Of the library's allocations, on all threads, while they are watched: how many there are, and which one fails.
std::atomic<bool> watched = false;
std::atomic<int> allocations = 0, failing = 0, alive = 0;

bool allowed() { return !watched || ++allocations != failing; }
void* made(void* memory, const void* before = nullptr) {
    if (watched && memory != nullptr && before == nullptr) ++alive;
    return memory;
}

}  // namespace

// The linker puts these in the place of the C library's.
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);
void* __real_reallocarray(void* memory, std::size_t count, std::size_t size);
void __real_free(void* memory);
void* __wrap_malloc(std::size_t size) { return allowed() ? made(__real_malloc(size)) : nullptr; }
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return allowed() ? made(__real_calloc(count, size)) : nullptr;
}
void* __wrap_realloc(void* memory, std::size_t size) {
    return allowed() ? made(__real_realloc(memory, size), memory) : nullptr;
}
void* __wrap_reallocarray(void* memory, std::size_t count, std::size_t size) {
    return allowed() ? made(__real_reallocarray(memory, count, size), memory) : nullptr;
}
void __wrap_free(void* memory) {
    if (watched && memory != nullptr) --alive;
    __real_free(memory);
}
}

// The library uses the one that does not throw, which may fail; the other one is that of the tests themselves.
void* operator new(std::size_t size) { return made(__real_malloc(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return __wrap_malloc(size); }
void operator delete(void* memory) noexcept { __wrap_free(memory); }
void operator delete(void* memory, std::size_t) noexcept { __wrap_free(memory); }

namespace {

using Freed = std::unique_ptr<GLMmodel, decltype(&glmFree)>;

const std::string POINTS = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvn 0 0 1\n";  // five lines
const std::string OBJ = "mtllib m.mtl\n" + POINTS +
                        "vt 0 1\nvt 1\nvt 2\nusemtl red\ng a b\nf 1/1 2/1 3/1 4/1\nusemtl gone\nusemtl gone\n"
                        "g\nf 1//1 2//1 4//1\n";
const std::string MTL = "newmtl red\nKd 1 0 0\nillum 7\nmap_Kd wood grain.png\nnewmtl blue\nillum 7\nNs 50\n";

// The file's name without its folder.
std::string textOf(const char* file, unsigned long long line, const char* text) {
    const std::string_view path = file;
    return std::string(path.substr(path.rfind('/') + 1)) + ":" + std::to_string(line) + ": " + text;
}
std::string textOf(const GLMerror& error) { return textOf(error.file, error.line, error.text); }

// Reads the model in each of the ways that there are.
std::vector<std::function<Freed(GLMerror*, const GLMoptions&)>> ways(const ModelFiles& files) {
    const std::string path = files.path, text = readFile(path);
    const auto ofFile = [path](std::FILE* file, int (*close)(std::FILE*), GLMerror* error,
                               const GLMoptions& options) {
        Freed model(glmTryReadFile(file, path.c_str(), error, options), glmFree);
        close(file);
        return model;
    };
    return {
        [=](GLMerror* error, const GLMoptions& options) {
            return Freed(glmTryReadOBJ(path.c_str(), error, options), glmFree);
        },
        [=](GLMerror* error, const GLMoptions& options) {
            // Without room behind it, for the sanitizer.
            const std::vector<char> bytes(text.begin(), text.end());
            return Freed(glmTryReadMemory(bytes.data(), bytes.size(), path.c_str(), error, options), glmFree);
        },
        [=](GLMerror* error, const GLMoptions& options) {
            const std::string behind = path + ".behind";
            std::ofstream(behind) << "v nothing of this\n" << text;
            std::FILE* file = std::fopen(behind.c_str(), "rb");
            std::fseek(file, static_cast<long>(std::strlen("v nothing of this\n")), SEEK_SET);
            return ofFile(file, std::fclose, error, options);
        },
        [=](GLMerror* error, const GLMoptions& options) {
            return ofFile(popen(("cat '" + path + "'").c_str(), "r"), pclose, error, options);
        },
    };
}

GLMoptions strictly() {
    GLMoptions options;
    options.strict = true;
    return options;
}

GLMoptions replacing() {
    GLMoptions options;
    options.replace = true;
    return options;
}

void keepWarning(void* data, const GLMwarning& warning) {
    auto& all = *static_cast<std::vector<std::string>*>(data);
    all.push_back(textOf(warning.file, warning.line, warning.text) + " x" + std::to_string(warning.count));
}

}  // namespace

TEST(Try, SaysWhatIsWrongAndWhere) {
    const struct {
        std::string obj, mtl, error;
    } cases[] = {
        {POINTS + "f 1//1 2//1 3//1\n\nf 1 2 3 4 5\n", "",
         "m.obj:8: vertex index for triangle 3 out of bounds (5 > 4)"},
        {POINTS + "f 1//2 2//1\n3//1", "", "m.obj:6: normal index for triangle 0 out of bounds (2 > 1)"},
        {POINTS + "f 1 2\n", "", "m.obj:6: glmReadOBJ: \"f\" with fewer than three corners"},
        {POINTS + "f 1/1 2/2 3", "", "m.obj:6: glmReadOBJ: Got \"3\" instead of a corner \"v/vt\""},
        {"\nv 1,5 2 3\nv 1\n", "", "m.obj:2: glmReadOBJ: numbers that can't be read"},
        {"v 1 2 3 f 1 1 1\nv 1 2 3 4 v\n", "", "m.obj:1: glmReadOBJ: statement after another one on its line"},
        {POINTS + "v 1 2 3 g a\n", "", "m.obj:6: glmReadOBJ: \"g\" after another statement on its line"},
        {POINTS + "vp 1\n", "", "m.obj:6: glmFirstPass(): Unknown token \"vp\"."},
        {"\nmaplib x\n", "", "m.obj:2: glmReadOBJ: Got \"maplib\" instead of \"mtllib\""},
        {"mtllib n.mtl\n", "", "m.obj:1: glmReadMTL() failed: can't open material file \"@n.mtl\"."},
        {"mtllib m.mtl\n", "newmtl a\nnormal b\n", "m.mtl:2: glmReadMTL: Got \"normal\" instead of \"newmtl\""},
        {"mtllib m.mtl\n", "newmtl a\nKd 1 1 1 newmtl b\n",
         "m.mtl:2: glmReadMTL: \"newmtl\" after another statement on its line"},
        // Behind the first piece of the file that is read.
        {POINTS + std::string(400000, '\n') + "f 1 2 9\n", "",
         "m.obj:400006: vertex index for triangle 0 out of bounds (9 > 4)"},
    };
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    for (const auto& test : cases) {
        const ModelFiles files(test.obj, test.mtl);
        std::string expected = test.error;
        if (const std::size_t at = expected.find('@'); at != std::string::npos) expected.replace(at, 1, files.at(""));
        for (const auto& read : ways(files)) {
            GLMerror error{};
            EXPECT_EQ(read(&error, strictly()), nullptr);
            EXPECT_EQ(textOf(error), expected);
            EXPECT_EQ(read(nullptr, strictly()), nullptr);
        }
    }
    GLMerror error{};
    EXPECT_EQ(glmTryReadOBJ("/gone", &error), nullptr);
    EXPECT_EQ(textOf(error), "gone:0: glmReadOBJ() failed: can't open data file \"/gone\".");
    EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
}

TEST(Try, ReadsAndWritesWhatTheOtherEntriesDo) {
    const ModelFiles files(OBJ, MTL);
    constexpr int MODE = GLM_FLAT | GLM_TEXTURE | GLM_MATERIAL;
    GLMoptions strict = replacing();
    strict.strict = true;
    for (const char* folder : {"a", "b"}) std::filesystem::create_directory(files.at(folder));
    testing::internal::CaptureStderr();
    const Model expected = files.read();
    glmWriteOBJ(expected.get(), files.at("a/x.obj").c_str(), MODE);
    testing::internal::GetCapturedStderr();
    for (const auto& read : ways(files)) {
        const Freed model = read(nullptr, strictly());
        ASSERT_NE(model, nullptr);
        EXPECT_TRUE(glmTryWriteOBJ(model.get(), files.at("b/x.obj").c_str(), MODE, nullptr, strict));
        EXPECT_EQ(readFile(files.at("b/x.obj")), readFile(files.at("a/x.obj")));
        EXPECT_EQ(readFile(files.at("b/m.mtl")), readFile(files.at("a/m.mtl")));
        EXPECT_STREQ(model->textures[0].name, "wood grain.png");
        GLMerror error{};
        EXPECT_FALSE(glmTryWriteOBJ(model.get(), "/gone/x.obj", MODE, &error));
        EXPECT_EQ(textOf(error), "x.obj:0: glmWriteOBJ() failed: can't open file \"/gone/x.obj\" to write.");
    }
    const Freed empty(glmTryReadMemory(nullptr, 0, "", nullptr, strictly()), glmFree);
    EXPECT_EQ(empty->numgroups, 1u);
    GLMoptions alone = strictly();
    alone.libraries = false;
    const Freed model(glmTryReadMemory(OBJ.data(), OBJ.size(), "", nullptr, alone), glmFree);
    ASSERT_NE(model, nullptr);
    EXPECT_EQ(model->materials, nullptr);
    EXPECT_STREQ(model->mtllibname, "m.mtl");
}

TEST(Try, CountsEqualWarnings) {
    const ModelFiles files(OBJ, MTL);
    for (const auto& read : ways(files)) {
        std::vector<std::string> warnings;
        GLMoptions options = strictly();
        options.data = &warnings;
        options.warn = keepWarning;
        ASSERT_NE(read(nullptr, options), nullptr);
        ASSERT_EQ(warnings.size(), 3u);
        EXPECT_EQ(warnings[0], "m.mtl:3: illum material ignored: illum 7 x2");
        EXPECT_TRUE(warnings[1].starts_with("m.obj:8: glmReadOBJ: \"vt\" with one number")) << warnings[1];
        EXPECT_EQ(warnings[1].substr(warnings[1].size() - 3), " x2");
        EXPECT_EQ(warnings[2], "m.obj:13: glmFindMaterial():  can't find material \"gone\". x2");
    }
}

// A library that cannot be read, and one that can.
TEST(Try, AFailureLeavesTheModelAsItIs) {
    const ModelFiles files(OBJ, MTL);
    files.folder.write("bad.mtl", "newmtl x\nmap_Kd other.png\nnewmtl y\nnormal\n");
    files.folder.write("good.mtl", "newmtl red\nnewmtl green\n");
    const Freed model(glmTryReadOBJ(files.path.c_str()), glmFree);
    GLMerror error{};
    GLMoptions strict;
    strict.strict = true;
    EXPECT_FALSE(glmTryReadMTL(model.get(), "bad.mtl", &error, strict));
    EXPECT_EQ(textOf(error), "bad.mtl:4: glmReadMTL: Got \"normal\" instead of \"newmtl\"");
    EXPECT_EQ(model->numtextures, 1u);
    EXPECT_EQ(model->nummaterials, 3u);
    EXPECT_STREQ(model->materials[2].name, "blue");
    EXPECT_FALSE(glmTryReadMTL(model.get(), "gone.mtl", &error));
    EXPECT_EQ(textOf(error),
              "gone.mtl:0: glmReadMTL() failed: can't open material file \"" + files.at("gone.mtl") + "\".");
    EXPECT_STREQ(model->materials[2].name, "blue");
    EXPECT_TRUE(glmTryReadMTL(model.get(), "good.mtl"));
    EXPECT_STREQ(model->materials[2].name, "green");
    std::free(std::exchange(model->pathname, nullptr));  // as of a model that was not read
    for (const GLMoptions& options : {GLMoptions(), strict})
        EXPECT_TRUE(glmTryReadMTL(model.get(), files.at("m.mtl").c_str(), nullptr, options));
}

// Of two files either both are written, or none is touched.
TEST(Try, WritesWholeFilesAndReplacesNoneUnasked) {
    std::string obj = OBJ;
    while (obj.size() < 1000) obj += "v 1 2 3\n";
    const ModelFiles files(obj, MTL);
    const Freed model(glmTryReadOBJ(files.path.c_str()), glmFree);
    GLMerror error{};
    const auto write = [&](const char* name, const GLMoptions& options) {
        error = {};
        glmTryWriteOBJ(model.get(), files.at(name).c_str(), GLM_MATERIAL, &error, options);
        return textOf(error);
    };
    const auto names = [&] {
        std::vector<std::string> all;
        for (const auto& entry : std::filesystem::directory_iterator(files.folder.path()))
            all.push_back(entry.path().filename());
        std::sort(all.begin(), all.end());
        return all;
    };
    const std::string library = files.at("m.mtl"), made = files.at("new.obj");
    EXPECT_EQ(write("new.obj", {}), ":0: ");  // under a name of its own, the library is there already
    EXPECT_EQ(write("new.obj", {}), "new.obj:0: glmWriteOBJ() failed: file \"" + made + "\" is there already.");
    EXPECT_EQ(names(), (std::vector<std::string>{"m.mtl", "m.obj", "new.mtl", "new.obj"}));
    for (const char* name : {"new.mtl", "new.obj"}) std::filesystem::remove(files.at(name));
    {
        // No file may be longer than the library.
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit little{.rlim_cur = 600, .rlim_max = before.rlim_max};
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &little);
        const std::string text = write("m.obj", replacing());
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        EXPECT_EQ(text, "m.obj:0: glmWriteOBJ() failed: can't write file \"" + files.path + "\".");
    }
    EXPECT_EQ(readFile(files.path), obj);
    EXPECT_EQ(readFile(library), MTL);
    std::filesystem::permissions(library, std::filesystem::perms::owner_read);
    files.folder.write("m.obj.part0", "left by a call that was cut off");
    EXPECT_EQ(write("m.obj", replacing()), ":0: ");
    EXPECT_TRUE(readFile(files.path).starts_with("# Wavefront OBJ")) << readFile(files.path);
    EXPECT_TRUE(readFile(library).starts_with("# W")) << readFile(library);
    EXPECT_EQ(std::filesystem::status(library).permissions(), std::filesystem::perms::owner_read);
    EXPECT_EQ(names(), (std::vector<std::string>{"m.mtl", "m.obj", "m.obj.part0"}));
    std::filesystem::remove(library);
    std::filesystem::create_directory(library);
    EXPECT_EQ(write("m.obj", replacing()),
              "m.mtl:0: glmWriteMTL() failed: file \"" + library + "\" is no regular file.");
    std::filesystem::remove(library);
    EXPECT_EQ(write("new.obj", {}), ":0: ");

    // No statement can say the library's name, nor the file's.
    std::free(model->mtllibname);
    model->mtllibname = strdup("folder\\ m.mtl");
    EXPECT_EQ(write(" two\nlines.obj", {}), ":0: ");
    const Freed back(glmTryReadOBJ(files.at(" two\nlines.obj").c_str()), glmFree);
    EXPECT_STREQ(back->mtllibname, "two_lines.mtl");
    EXPECT_EQ(back->nummaterials, model->nummaterials);
}

TEST(Try, EachAllocationMayFail) {
    const ModelFiles files(OBJ + "g c\nf 1 2 3\ng d\nf 1 2 3\no e\nl 1 2\nv 1 2 3 .1 .2 .3\ns 1\nf 1 2 3\n", MTL);
    files.folder.write("all.mtl", MTL + "map_Ks -s 1 x\\y\nfoo\nnewmtl c\nmap_Kd x\nfoo\nfoo\n");
    GLMoptions options = replacing();
    options.warn = [](void*, const GLMwarning&) {};
    std::filesystem::create_directory(files.at("out"));
    const Freed whole(glmTryReadOBJ(files.path.c_str()), glmFree);
    GLMextras* kept = nullptr;
    GLMoptions keeping;
    keeping.extras = &kept;
    const Freed written(glmTryReadOBJ(files.path.c_str(), nullptr, keeping), glmFree);
    std::vector<std::function<bool(GLMerror*)>> calls = {
        [&](GLMerror* error) { return glmTryReadMTL(whole.get(), "m.mtl", error, options); },
        [&](GLMerror* error) {
            GLMextras* extras = nullptr;
            GLMoptions all = options;
            all.extras = &extras;
            const bool done = glmTryReadMTL(whole.get(), "all.mtl", error, all);
            glmFreeExtras(extras);
            return done;
        },
        [&](GLMerror* error) {
            GLMoptions all = options;
            all.extras = &kept;
            return glmTryWriteOBJ(written.get(), files.at("out/x.obj").c_str(), GLM_ALL, error, all);
        },
    };
    for (const auto& read : ways(files))
        for (GLMoptions reading : {strictly(), GLMoptions()})
            calls.emplace_back([&, read, reading](GLMerror* error) mutable {
                GLMextras* extras = nullptr;
                reading.warn = options.warn;
                reading.extras = &extras;
                const bool done = read(error, reading) != nullptr;
                glmFreeExtras(extras);
                return done;
            });
    // In pieces that three threads share, one of which is read twice.
    const std::string text = "f 3 1 4//1\n" + readFile(files.path);
    calls.emplace_back([&](GLMerror* error) {
        GLMcall call;
        __glmLetReturn(call, error, options);
        call.options.threads = 3;
        call.chunk = 16;
        return Freed(__glmTryRead(call, {files.path.c_str(), nullptr, text.data(), text.size()}), glmFree) != nullptr;
    });
    calls.emplace_back([&](GLMerror* error) {
        GLMarrays* arrays = glmTryMakeArrays(whole.get(), error);
        glmFreeArrays(arrays);
        return arrays != nullptr;
    });
    // A polygon that is too large for the stack, and no fan: from corner to corner of the square, there and back.
    std::vector<GLMelementcorner> corners(100);
    for (std::uint32_t i = 0; i < 100; ++i) corners[i] = {1 + i % 3, GLM_NO_INDEX, GLM_NO_INDEX};
    GLMelement polygon{GLMelementkind::face, 0, 100, 0, 0, 0, 1};
    char name[] = "default", *names[] = {name};
    GLMextras extras{};
    extras.numgroups = extras.numelements = 1;
    extras.groupnames = names;
    extras.numcorners = 100;
    extras.corners = corners.data();
    extras.elements = &polygon;
    glmTryTriangulate(whole.get(), &extras);
    calls.emplace_back([&](GLMerror* error) { return glmTryTriangulate(whole.get(), &extras, error); });
    for (std::size_t i = 0; i < calls.size(); ++i) {
        int tried = 0;
        for (bool done = false; !done; ++tried) {
            GLMerror error{};
            allocations = alive = 0;
            failing = tried + 1;
            watched = true;
            const bool result = calls[i](&error);
            watched = false;
            done = allocations < failing;
            EXPECT_EQ(result, done);
            EXPECT_TRUE(done || std::strncmp(error.text, "out of memory (", 15) == 0) << tried << error.text;
            EXPECT_TRUE(i <= 1 || alive == 0) << tried;
        }
        EXPECT_GT(tried, i == 2 ? 2 : 5);
    }
    glmFreeExtras(kept);
    EXPECT_EQ(whole->numtriangles, 98u);
    std::free(extras.smoothing);
}

TEST(Try, TellsProgressAndCanBeCancelled) {
    std::string obj = POINTS;
    while (obj.size() < 3000000) obj += "f 1 2 3 4\n";
    struct Told {
        std::vector<float> parts;
        std::size_t most;
    };
    const ModelFiles files(obj);
    auto calls = ways(files);
    const Freed written = calls[0](nullptr, {});
    calls.emplace_back([&](GLMerror* error, GLMoptions options) {
        options.replace = true;
        const bool done = glmTryWriteOBJ(written.get(), files.at("out.obj").c_str(), GLM_ALL, error, options);
        return Freed(done ? glmTryReadOBJ(files.at("out.obj").c_str()) : nullptr, glmFree);
    });
    for (std::size_t i = 0; i < 2 * calls.size() - 1; ++i) {  // the last without `strict` only
        const auto& read = calls[i / 2];
        Told told{.parts = {}, .most = 1000};
        GLMoptions options;
        options.strict = i % 2 != 0;
        options.threads = 1;
        options.data = &told;
        options.progress = [](void* data, float done) {
            Told& all = *static_cast<Told*>(data);
            all.parts.push_back(done);
            return all.parts.size() < all.most;
        };
        EXPECT_NE(read(nullptr, options), nullptr);
        ASSERT_TRUE(told.parts.size() > 10 && told.parts.size() <= 100) << told.parts.size();
        EXPECT_TRUE(std::is_sorted(told.parts.begin(), told.parts.end()));
        EXPECT_EQ(told.parts.back(), 1);
        for (std::size_t most = 1; most <= told.parts.size(); most += 5) {
            Told less{.parts = {}, .most = most};
            options.data = &less;
            GLMerror error{};
            EXPECT_EQ(read(&error, options), nullptr);
            EXPECT_STREQ(error.text, "cancelled");
            EXPECT_EQ(less.parts.size(), most);
        }
    }
}

TEST(Try, SeveralThreadsAtOnce) {
    const ModelFiles files(OBJ, MTL), bad(POINTS + "f 1 2 +0x\n");
    std::vector<std::thread> threads;
    std::vector<int> right(4);
    for (int& mine : right)
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                const GLMoptions options = i % 2 == 0 ? strictly() : GLMoptions();
                const Freed model(glmTryReadOBJ(files.path.c_str(), nullptr, options), glmFree);
                GLMerror error{};
                glmVertexNormals(model.get(), 60, false);
                mine += model->numtriangles == 3 && glmTryReadOBJ(bad.path.c_str(), &error, options) == nullptr &&
                        error.line == 6;
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(right, std::vector<int>(4, 50));
}
