#include "models.h"

#include "child.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

// What the probe prints for an OBJ text, in a folder that holds "cube.mtl".
std::string printed(const std::string& obj, const std::string& mtl = "newmtl a\n") {
    const TempDir folder;
    folder.write("m.obj", obj);
    folder.write("cube.mtl", mtl);
    const ChildResult result = runInChild([&] {
        std::filesystem::current_path(folder.path());
        if (ryl_loadObjModel("m.obj") != 0) std::abort();
    });
    EXPECT_EQ(result.status, 0) << obj;
    EXPECT_EQ(result.errors, "");
    return result.output;
}

const std::string LOADING = "[*] Loading m.obj.\n";

}  // namespace

TEST(Models, MaterialLibraryIsFoundByPlainTextSearch) {
    EXPECT_EQ(printed("v 1 2 3\nmtllib cube.mtl\n"), LOADING + "cube.mtl\n\n");
    EXPECT_EQ(printed("# mtllib cube.mtl here"), LOADING + "cube.mtl\n\n");
    EXPECT_EQ(printed("mtllib gone\nx.mtl"), LOADING + "gone\nx.mtl\n\n[/] Couldn't material file gone\nx.mtl.\n");
    EXPECT_EQ(printed("mtllib cube.mtl", "# newmtl"), LOADING + "cube.mtl\n\n");
    EXPECT_EQ(printed("mtllib cube.mtl", "Kd 1 1 1\nnewmt"), LOADING + "cube.mtl\n\n[/] No materials found\n");
    EXPECT_EQ(printed("mtllib cube.mtl", ""), LOADING + "cube.mtl\n\n[/] No materials found\n");
}

TEST(Models, ModelsWithoutAUsableName) {
    const std::string none = LOADING + "[/] No mtllib defined in the model";
    const std::string invalid = LOADING + "[/] Invalid material filename.\n";
    EXPECT_EQ(printed(""), none);
    EXPECT_EQ(printed("v 1 2 3\nmtlli"), none);
    EXPECT_EQ(printed("mtllib"), invalid);
    EXPECT_EQ(printed("mtllib cube.mt"), invalid);
    EXPECT_EQ(printed("mtllib.mtl"), invalid);
    EXPECT_EQ(printed("a.mtl\nmtllib cube.mtl"), invalid) << "the first ending is in front of the keyword";
    EXPECT_EQ(printed("mtllib .mtl"), LOADING + ".mtl\n\n[/] Couldn't material file .mtl.\n");
    EXPECT_EQ(printed(std::string("\0mtllib \0.mtl", 13)), LOADING + "\n\n[/] Couldn't material file .\n");
}

TEST(Models, FilesThatCannotBeOpened) {
    const TempDir folder;
    for (const std::string& path : {folder.path().string(), (folder.path() / "gone").string()}) {
        const ChildResult result = runInChild([&] { ryl_loadObjModel(path.c_str()); });
        EXPECT_EQ(result.output, "[*] Loading " + path + ".\nCouldn't open " + path + ".\n");
        EXPECT_EQ(result.status, 255);
    }
}
