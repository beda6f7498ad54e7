package com.xol.kesto2;

/**
 * Run without an X server (CTest gives it a display nobody serves): an environment that cannot
 * open its display is refused with 0 rather than handed out half made. Exits non-zero otherwise.
 */
public final class NoDisplay {
    public static void main(String[] args) {
        int plain = Kesto2.InitEnvironment();
        int configured = Kesto2.InitEnvironmentWithConfig(8, 8, 8, 0);
        System.out.println("InitEnvironment: " + plain + ", InitEnvironmentWithConfig: " + configured);
        System.exit(plain == 0 && configured == 0 ? 0 : 1);
    }
}
