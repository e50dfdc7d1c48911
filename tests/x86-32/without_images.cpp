// The entries of the library that draws, which is not here, for models without images.
#include "glm/glm_call.h"

GLMmodel* glmReadOBJ(const char* path) {
    GLMcall call;
    return __glmReadOBJ(call, path);
}

void glmReadMTL(GLMmodel* model, const char* name) {
    GLMcall call;
    __glmReadMTL(call, model, name);
}

void glmDelete(GLMmodel* model) { glmFree(model); }
