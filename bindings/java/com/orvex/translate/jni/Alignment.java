package com.orvex.translate.jni;

/**
 * A translation, and which part of it comes from which part of the text. Links are in order of the
 * translation. Positions are indices of {@code char}; ends are exclusive. A link whose start is its
 * end stands for nothing on that side. Not changed by anything: share it between threads freely.
 */
public final class Alignment {
  private final String translation;
  private final int[] links;

  Alignment(String translation, int[] links) {
    this.translation = translation;
    this.links = links;
  }

  public String translation() {
    return translation;
  }

  /** How many links there are. */
  public int size() {
    return links.length / 4;
  }

  public int sourceStart(int link) {
    return links[4 * link];
  }

  public int sourceEnd(int link) {
    return links[4 * link + 1];
  }

  public int targetStart(int link) {
    return links[4 * link + 2];
  }

  public int targetEnd(int link) {
    return links[4 * link + 3];
  }
}
