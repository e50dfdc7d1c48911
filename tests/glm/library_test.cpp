// Material libraries as today's programs write them.
#include "glm/glm_try.h"
#include "model_files.h"
#include "model_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Read {
    std::string materials, warnings;
};

// What a library of that text makes of the materials; warnings without what all begin with.
Read read(const std::string& mtl, bool withExtras, const std::string& file = "m.mtl") {
    const ModelFiles files("v 0 0 0\n", mtl);
    std::filesystem::create_directory(files.at("tex"));
    for (const char* name : {"wood.png", "tex/a b.png", "tex/wood.png"}) files.folder.write(name, "");
    files.folder.write("tex/m.mtl", mtl);
    GLMextras* extras = nullptr;
    Read result;
    GLMoptions options;
    options.data = &result.warnings;
    if (withExtras) options.extras = &extras;
    options.warn = [](void* data, const GLMwarning& warning) {
        std::string text = warning.text;
        if (text.starts_with("glmReadMTL: ")) text.erase(0, 12);
        *static_cast<std::string*>(data) += std::to_string(warning.line) + ": " + text + "\n";
    };
    const GLMfreed model(glmTryReadOBJ(files.path.c_str()));
    if (!glmTryReadMTL(model.get(), file.c_str(), nullptr, options)) return {"failed", result.warnings};
    result.materials = materialsText(*model, extras);
    glmFreeExtras(extras);
    for (std::size_t at = 0; (at = result.warnings.find(files.at(""))) != std::string::npos;)
        result.warnings.erase(at, files.at("").size());
    return result;
}

}  // namespace

TEST(Library, EveryStatement) {
    const struct {
        std::string mtl, materials, warnings;
    } cases[] = {
        {"Kd 1 0 0\nnewmtl a\n", "[default] Kd 1 0 0\n[a]\n", ""},
        // Line ends, the mark of UTF-8, tabs, lines that go on, comments; a comment does not go on.
        {"\xef\xbb\xbfnewmtl a\r\n\tKa\t.5 \\\r\n 1 +1 # x\rd .25#x\r\r\n#c \\\nKD 1 1e0 \\\n 0",
         "[default]\n[a] Ka 0.5 1 1 1 Kd 1 1 0 d 0.25\n", ""},
        {"newmtl \t Material #25 of \\ \"x\" \t # 26\nnewmtl #1\nnewmtl b#\n",
         "[default]\n[Material #25 of \\ \"x\"]\n[#1]\n[b#]\n", ""},
        {"newmtl\nd 0\n", "[default]\n[] d 0\n", "1: \"newmtl\" without a name\n"},
        {"newmtl default\nd 0\nnewmtl a\nd 0\nnewmtl a\nd 1\nnewmtl default\nd 1\n", "[default] d 0\n[a] d 0\n",
         "5: material \"a\" is there already, the first one counts\n"
         "7: material \"default\" is there already, the first one counts\n"},
        {"Kd .5\nKs 1 2 3 4\nKa 1 2\nKe 1 x\nNs\nNi 1,5\n", "[default] Kd 0.5 0.5 0.5 Ks 1 2 3 1\n",
         "2: \"Ks\" taken without what follows its numbers\n3: \"Ka\" ignored, its numbers can't be read\n"
         "4: \"Ke\" ignored, its numbers can't be read\n5: \"Ns\" ignored, its numbers can't be read\n"
         "6: \"Ni\" ignored, its numbers can't be read\n"},
        {"Kd spectral a.rfl 1\nTf Spectral b.rfl\nKa XYZ .9505 1 1.089\nKe xyz .5\nKs xyz x\nD -halo .5 \n",
         "[default] Ka 1.0000149 1.000054 1.0000159 1 d 0.5 Ke 0.6024 0.4742 0.45435 [Kd spectral a.rfl 1] "
         "[Tf Spectral b.rfl] [D -halo .5]\n",
         "1: spectral colours can't be read, they are left out\n5: \"Ks\" ignored, its numbers can't be read\n"},
        {"\xff\xfeK", "[default]\n", "1: the library \"m.mtl\" is UTF-16 text; save it as UTF-8\n"},
        {"Tr .25\nnewmtl a\nd 1\nTr 1\nnewmtl b\nTr 1\nd .5\n", "[default] d 0.75\n[a]\n[b] d 0.5\n", ""},
        {"Ns 1000\nKe 1 2 3\nTf .5\nNi 1.5\nillum 7\nPr 0\nPm 1\nPs 2\nPc 3\nPcr 4\naniso 5\nanisor 6\n",
         "[default] shininess 1280 Ke 1 2 3 Tf 0.5 0.5 0.5 Ns 1000 Ni 1.5 illum 7 Pr 0 Pm 1 Ps 2 Pc 3 Pcr 4 aniso 5 "
         "anisor 6\n",
         ""},
        {"map_Kd -s 2 3 -clamp on -blendu -mm 0 1  tex/a b.png # c\nbump wood.png -bm 2\nmap_Bump -bm 2 wood.png\n",
         "[default] map_Kd [tex/a b.png] map_Kd [-s 2 3 -clamp on -blendu -mm 0 1|tex/a b.png] bump [|wood.png -bm 2] "
         "map_Bump [-bm 2|wood.png]\n",
         "2: image \"wood.png -bm 2\" isn't there\n"},
        {"map_Kd tex\\a b.png\nrefl -type sphere -o 1 2 3 4.png\nnorm -imfchan r -imfchan rgb.png\ndisp -s.png\n",
         "[default] map_Kd [tex/a b.png] map_Kd [|tex\\a b.png] refl [-type sphere -o 1 2 3|4.png] "
         "norm [-imfchan r -imfchan|rgb.png] disp [|-s.png]\n",
         "2: image \"4.png\" isn't there\n3: image \"rgb.png\" isn't there\n4: image \"-s.png\" isn't there\n"},
        {"map_Kd -s 1 1 1\nmap_x /dev/null\nmap_aat on \nNsx 1\t \nfoo\n",
         "[default] map_x [|/dev/null] [map_aat on] [Nsx 1] [foo]\n", "1: \"map_Kd\" without a name ignored\n"},
        {std::string("d .5\0.5\nnewmtl a\0b\n", 18), "[default] d 0.5\n[a]\n", ""},
    };
    for (const auto& test : cases) {
        const Read got = read(test.mtl, true);
        EXPECT_EQ(got.materials, test.materials);
        EXPECT_EQ(got.warnings, test.warnings);
    }
    const Read plain = read("Pr 1\nbump x\nmap_Kd wood.png\nmap_Kd gone\nmap_Kd wood.png\nfoo 1\nd -halo 1\n", false);
    EXPECT_EQ(plain.materials, "[default] map_Kd [wood.png]\n");
    EXPECT_EQ(plain.warnings,
              "4: image \"gone\" isn't there\n6: \"foo\" ignored\n7: \"d\" -halo taken as without it\n");
    EXPECT_EQ(read("", true, "gone.mtl").materials, "failed");
    EXPECT_EQ(read("", true, "tex").materials, "failed");
    EXPECT_EQ(read("newmtl a\r\rd x\\\r\n\r\nNs x", true).warnings,
              "3: \"d\" ignored, its numbers can't be read\n5: \"Ns\" ignored, its numbers can't be read\n");
    EXPECT_EQ(read("newmtl a", true, "tex\\..\\m.mtl").materials, "[default]\n[a]\n");
    const Read beside =
        read("map_Kd a b.png\nbump -bm 2 .\\a b.png\ndisp wood.png\nnorm gone.png\n", true, "tex\\m.mtl");
    EXPECT_EQ(beside.materials, "[default] map_Kd [tex/a b.png] map_Kd [|tex/a b.png] bump [-bm 2|tex/./a b.png] "
                                "disp [|wood.png] norm [|gone.png]\n");
    EXPECT_EQ(beside.warnings, "4: image \"gone.png\" isn't there\n");
}
