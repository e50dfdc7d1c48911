// The model record: its groups, and its end.
#include "glm/glm.h"

#include "glm/glm_call.h"

#include <cassert>
#include <cstdlib>
#include <cstring>

GLMgroup* glmFindGroup(const GLMmodel* model, const char* name) {
    assert(model != nullptr);
    GLMgroup* group = model->groups;
    while (group != nullptr && std::strcmp(group->name, name) != 0) group = group->next;
    return group;
}

GLMgroup* glmAddGroup(GLMmodel* model, const char* name) {
    GLMgroup* group = glmFindGroup(model, name);
    if (group != nullptr) return group;
    GLMcall call;
    return __glmNewGroup(call, model, name);
}

GLMgroup* __glmNewGroup(GLMcall& call, GLMmodel* model, const char* name) {
    GLMstring copy(__glmTryCopy(call, name));
    if (copy == nullptr) return nullptr;
    auto* group = __glmTryArray<GLMgroup>(call, 1);
    if (group == nullptr || !__glmTryCount(call, *model, model->numgroups, 1, "groups")) {
        std::free(group);
        return nullptr;
    }
    group->name = copy.release();
    group->next = model->groups;
    model->groups = group;
    return group;
}

void __glmFreeMaterials(GLMmodel* model) {
    for (std::uint32_t i = 0; i < model->nummaterials; ++i) std::free(model->materials[i].name);
    std::free(model->materials);
    model->materials = nullptr;
    model->nummaterials = 0;
}

void glmFree(GLMmodel* model) {
    assert(model != nullptr);
    std::free(model->pathname);
    std::free(model->mtllibname);
    std::free(model->vertices);
    std::free(model->normals);
    std::free(model->texcoords);
    std::free(model->facetnorms);
    std::free(model->triangles);
    __glmFreeMaterials(model);
    for (std::uint32_t i = 0; i < model->numtextures; ++i) std::free(model->textures[i].name);
    std::free(model->textures);
    while (model->groups != nullptr) {
        GLMgroup* group = model->groups;
        model->groups = group->next;
        std::free(group->name);
        std::free(group->triangles);
        std::free(group);
    }
    std::free(model);
}
