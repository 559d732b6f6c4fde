package com.orvex.translate.jni;

/** Loads libtranslator_jni once for the classes that need it. Safe on any thread. */
final class NativeLibrary {
  static {
    String file = System.getProperty("kora.library");
    if (file != null) {
      System.load(file);
    } else {
      System.loadLibrary("translator_jni");
    }
  }

  private NativeLibrary() {}

  /** Returns when the library is there. */
  static void load() {}
}
