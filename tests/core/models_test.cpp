#include "models.h"

#include "child.h"
#include "temp_dir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

TEST(Models, AreProbedForTheirLibraryAndItsMaterials) {
    const std::string none = "[/] No mtllib defined in the model", invalid = "[/] Invalid material filename.\n";
    const struct {
        std::string obj, mtl, said;
    } cases[] = {
        {"v 1 2 3\nmtllib cube.mtl\n", "# newmtl", "cube.mtl\n\n"},
        {"# mtllib cube.mtl here", "Kd 1 1 1\nnewmt", "cube.mtl\n\n[/] No materials found\n"},
        {"mtllib gone\nx.mtl", "", "gone\nx.mtl\n\n[/] Couldn't material file gone\nx.mtl.\n"},
        {std::string("\0mtllib \0.mtl", 13), "", "\n\n[/] Couldn't material file .\n"},
        {"", "", none},
        {"mtllib.mtl", "", invalid},
        {"a.mtl\nmtllib cube.mtl", "", invalid},  // the first ending is in front of the keyword
    };
    const TempDir folder;
    for (const auto& test : cases) {
        folder.write("m.obj", test.obj);
        folder.write("cube.mtl", test.mtl);
        const ChildResult result = runInChild([&] {
            std::filesystem::current_path(folder.path());
            if (ryl_loadObjModel("m.obj") != 0) std::abort();
        });
        EXPECT_EQ(result.output, "[*] Loading m.obj.\n" + test.said);
        EXPECT_EQ(result.status, 0) << test.obj;
    }
}

TEST(Models, ThatCannotBeReadEndTheProgram) {
    const ChildResult result = runInChild([] { ryl_loadObjModel("/"); });
    EXPECT_EQ(result.output, "[*] Loading /.\nCouldn't open /.\n");
    EXPECT_EQ(result.status, 255);
}
