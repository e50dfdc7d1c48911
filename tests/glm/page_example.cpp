#include "glm/glm.h"

#include <GL/freeglut.h>

GLMmodel* model = nullptr;

void display() {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glmDraw(model, GLM_SMOOTH | GLM_MATERIAL);
    glutSwapBuffers();
}

int main(int argc, char** argv) {
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_RGB | GLUT_DOUBLE | GLUT_DEPTH);
    glutCreateWindow("model");
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    model = glmReadOBJ(argc > 1 ? argv[1] : "data/cubeobj.obj");
    glmUnitize(model);                      // into the cube from -1 to 1
    glmVertexNormals(model, 60.0f, false);  // edges sharper than 60 degrees stay edges
    glmWriteOBJ(model, "smooth.obj", GLM_SMOOTH | GLM_MATERIAL);
    glutDisplayFunc(display);
    glutMainLoop();
    return 0;
}
