#version 330
// Transforms positions like the fixed-function pipeline did, and hands colours and texture coordinates on.
//
// Full-screen passes use this stage without setting a uniform: what they leave alone is the identity.

layout(location = 0) in vec4 a_position;
layout(location = 1) in vec4 a_texCoord;
layout(location = 2) in vec4 a_color;
#ifdef WIDE_LINES
layout(location = 15) in float a_stippleBits; // bits of the pattern up to the vertex, or nothing
out float v_firstBits;
#endif

uniform mat4 u_projectionMatrix = mat4(1.0);
uniform mat4 u_viewMatrix = mat4(1.0);
uniform mat4 u_modelMatrix = mat4(1.0);
uniform float u_pointSize = 1.0; // pixels
uniform bool u_pointSmoothing = false;
uniform vec3 u_texCoordScaling = vec3(1.0);
uniform vec3 u_texCoordOffset = vec3(0.0);

out VertexData {
    vec4 color;
    vec3 texCoord;
} v_out;

void main() {
    gl_Position = u_projectionMatrix * (u_viewMatrix * (u_modelMatrix * a_position));
    // Squares have whole pixels, at least one; a disc reaches pixels whose centres are up to half a pixel outside of it.
    gl_PointSize = u_pointSmoothing ? max(u_pointSize, 0.0) + 1.0 : floor(max(u_pointSize, 1.0) + 0.5);
#ifdef WIDE_LINES
    v_firstBits = a_stippleBits;
#endif
    v_out.color = a_color;
    v_out.texCoord = a_texCoord.xyz * u_texCoordScaling + u_texCoordOffset;
}
