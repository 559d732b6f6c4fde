package com.orvex.translate.jni;

/** A failure of {@link Translator}: a code, and a message that names file, position and remedy. */
public final class TranslatorException extends RuntimeException {
  private static final long serialVersionUID = 1;

  public static final int BAD_ARGUMENT = 1;
  /** No such direction, or its source language cannot be translated. */
  public static final int BAD_DIRECTION = 2;
  /** The configuration is unreadable, of another version, or asks for too wide a search. */
  public static final int BAD_CONFIGURATION = 3;
  /** A model file is missing, damaged or does not fit. */
  public static final int BAD_MODEL = 4;
  /** The folder differs from its manifest, or has none. */
  public static final int BAD_MANIFEST = 5;
  /** Damage that was first met while translating. */
  public static final int TRANSLATION_FAILED = 6;
  public static final int NO_MEMORY = 7;

  private final int code;

  TranslatorException(int code, String message) {
    super(message);
    this.code = code;
  }

  /** One of the codes of this class; a later version of the library may add more. */
  public int code() {
    return code;
  }
}
