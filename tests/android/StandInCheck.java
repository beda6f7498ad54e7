import java.io.File;
import java.lang.reflect.Member;
import java.lang.reflect.Modifier;
import java.net.URL;
import java.net.URLClassLoader;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.jar.JarFile;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/**
 * Checks the desktop stand-ins against the Android API jar: every public constructor, method and
 * field a stand-in class declares must exist in the real class with the same signature (parameter
 * and result types, static or not), so that code written and tested against the stand-ins is valid
 * Android code. Run as {@code java StandInCheck.java STAND_IN_JAR API_JAR}.
 */
public final class StandInCheck {
    /** What the desktop needs and Android lacks by design: a surface that opens an X11 window. */
    private static final Set<String> HOST_ONLY = Set.of("android.view.Surface(int,int)");

    public static void main(String[] args) throws Exception {
        ClassLoader platform = ClassLoader.getPlatformClassLoader();
        ClassLoader standIns = new URLClassLoader(new URL[] {new File(args[0]).toURI().toURL()}, platform);
        ClassLoader api = new URLClassLoader(new URL[] {new File(args[1]).toURI().toURL()}, platform);
        List<String> names;
        try (JarFile jar = new JarFile(args[0])) {
            names = jar.stream().map(e -> e.getName()).filter(n -> n.startsWith("android/") && n.endsWith(".class"))
                    .map(n -> n.substring(0, n.length() - 6).replace('/', '.')).collect(Collectors.toList());
        }
        List<String> problems = new ArrayList<>();
        int members = 0;
        for (String name : names) {
            Class<?> standIn = Class.forName(name, false, standIns);
            if (!Modifier.isPublic(standIn.getModifiers())) {
                continue;
            }
            Class<?> real;
            try {
                real = Class.forName(name, false, api);
            } catch (ClassNotFoundException missing) {
                problems.add(name + ": no such class in the API");
                continue;
            }
            Set<String> offered = signatures(real, true);
            for (String member : signatures(standIn, false)) {
                ++members;
                if (!offered.contains(member) && !HOST_ONLY.contains(member)) {
                    problems.add(member + ": not in the API");
                }
            }
        }
        problems.forEach(problem -> System.out.println("FAIL " + problem));
        if (!problems.isEmpty()) {
            System.exit(1);
        }
        System.out.println("stand-ins: " + members + " public members of " + names.size()
                + " classes, each in the API (" + HOST_ONLY.size() + " host-only)");
    }

    /** Public members as "[static ]type owner.name(params)"; with `inherited`, those of supertypes too. */
    private static Set<String> signatures(Class<?> type, boolean inherited) {
        Set<String> out = new HashSet<>();
        Stream.of(type.getDeclaredConstructors()).filter(StandInCheck::visible)
                .forEach(c -> out.add(type.getName() + "(" + names(c.getParameterTypes()) + ")"));
        Stream.concat(Stream.of(type.getDeclaredMethods()), inherited ? Stream.of(type.getMethods()) : Stream.empty())
                .filter(m -> visible(m) && !m.isBridge())
                .forEach(m -> out.add(prefix(m) + m.getReturnType().getTypeName() + " " + type.getName() + "."
                        + m.getName() + "(" + names(m.getParameterTypes()) + ")"));
        Stream.concat(Stream.of(type.getDeclaredFields()), inherited ? Stream.of(type.getFields()) : Stream.empty())
                .filter(StandInCheck::visible)
                .forEach(f -> out.add(prefix(f) + f.getType().getTypeName() + " " + type.getName() + "." + f.getName()));
        return out;
    }

    private static boolean visible(Member member) {
        return Modifier.isPublic(member.getModifiers()) && !member.isSynthetic();
    }

    private static String prefix(Member member) {
        return Modifier.isStatic(member.getModifiers()) ? "static " : "";
    }

    private static String names(Class<?>[] types) {
        return Arrays.stream(types).map(Class::getTypeName).collect(Collectors.joining(","));
    }
}
