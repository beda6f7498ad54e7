package com.xol.kesto2;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertTrue;

import android.view.Surface;
import com.xol.kesto2.test.NativeLog;
import java.util.List;
import org.junit.Test;

/** A whole session, written as an application would write it. */
public class SessionTest {
    @Test
    public void renderHitTestQueryAndTearDown() {
        int env = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        assertNotEquals(0, env);
        int context = Kesto2.CreateContext(env, 8, 8, 8, 0);
        assertNotEquals(0, context);
        assertTrue(Kesto2.Context_RunOnCurrentThread(context));
        int window = Kesto2.CreateWindowByContext(env, context);
        Surface surface = new Surface(480, 800);
        assertTrue(Kesto2.Window_BindSurface(window, surface, 480, 800));
        Kesto2.Window_SetClearColor(window, 0f, 0f, 1f, 1f);

        int scene = Kesto2.CreateScene(env);
        int root = Kesto2.Scene_GetRootNode(scene);
        int camera = Kesto2.Scene_GetDefaultCamera(scene);
        Kesto2.Viewport_LinkCamera(Kesto2.Window_GetDefaultViewport(window), camera);
        int group = Kesto2.CreateSceneNode(env);
        assertTrue(Kesto2.SceneNode_AddChild(root, group));
        int left = Kesto2.CreateSprite(env, 1);
        int right = Kesto2.CreateSpriteWithConfig(env, 2, false);
        int clip = Kesto2.CreateScissor(env);
        Kesto2.Scissor_SetArea(clip, 0, 0, 480, 800);
        assertTrue(Kesto2.SceneNode_AddChild(group, left));
        assertTrue(Kesto2.SceneNode_AddChild(group, clip));
        assertTrue(Kesto2.SceneNode_AddChild(clip, right));
        Kesto2.SceneNode_SetPosition(left, -100f, 0f, 0f);
        Kesto2.SceneNode_SetPosition(right, 100f, 50f, 0f);
        Kesto2.Sprite_SetColor(left, 0, 255, 0, 0);
        Kesto2.Sprite_SetColor(right, 1, 0, 255, 0);
        Kesto2.SceneNode_SetUserData(right, 42);
        assertEquals(42, Kesto2.SceneNode_GetUserData(right));

        for (int frame = 0; frame < 3; ++frame) {
            assertTrue(Kesto2.Window_Render(window));
        }
        assertEquals(left, Kesto2.Window_HitTest(window, 140, 400));
        assertEquals(right, Kesto2.Window_HitTest(window, 340, 350));
        assertEquals(0, Kesto2.Window_HitTest(window, 240, 100));
        Kesto2.Sprite_SetTouchable(left, false);
        assertEquals(0, Kesto2.Window_HitTest(window, 140, 400));

        assertTrue(Kesto2.Window_QuerySceneNodeOriginPositionOnViewport(window, 0, right));
        assertEquals(100f, Kesto2.getOutputVectorX(), 1e-3f);
        assertEquals(50f, Kesto2.getOutputVectorY(), 1e-3f);
        assertFalse(Kesto2.Window_QuerySceneNodeOriginPositionOnViewport(window, 0, 0));
        assertEquals(9999.9f, Kesto2.getOutputVectorX(), 0f);
        assertEquals(9999.9f, Kesto2.getOutputVectorY(), 0f);
        assertEquals(0f, Kesto2.getOutputVectorZ(), 0f);

        Kesto2.DestroySprite(left);
        Kesto2.DestroyScissor(right);  // one destroy body serves every node kind
        Kesto2.DestroyScissor(clip);
        Kesto2.DestroySceneNode(group);
        Kesto2.DestroyScene(scene);
        Kesto2.Window_UnbindSurface(window);
        Kesto2.DestroyWindow(window);
        surface.release();
        Kesto2.DestroyContext(context);

        List<String> status;
        try (NativeLog log = new NativeLog()) {
            Kesto2.Environment_LogStatus(env);
            status = log.messages("KestoEnv");
        }
        assertTrue(status.toString(), status.contains("eglDisplay 1 1"));
        assertTrue(status.contains("eglContext 0 0"));
        assertTrue(status.contains("eglSurface 0 0"));
        assertTrue(status.contains("Shader 0 0"));
        assertTrue(status.contains("ShaderProgram 0 0"));
        assertTrue(status.contains("GLArrayBuffer 0"));
        assertTrue(status.contains("new 1"));  // the environment itself
        assertTrue(status.contains("new [] 0"));
        for (String row : new String[] {"Window", "Scene ", "SceneNode", "Camera", "Mesh"}) {
            for (String line : status) {
                assertFalse(line, line.startsWith(row));
            }
        }

        try (NativeLog log = new NativeLog()) {
            Kesto2.DeinitEnvironment(env);
            status = log.messages("KestoEnv");
        }
        assertTrue(status.toString(), status.contains("eglDisplay 0 0"));
        assertTrue(status.contains("new 0"));
        assertTrue(status.contains("new [] 0"));
    }
}
