"""Translates a text file on Spark, partition by partition. See ../scale.md: this was not run.

    spark-submit translate_spark.py MODEL INPUT OUTPUT_DIR
"""

import sys

import kora
from pyspark.sql import SparkSession


def translate_partition(model):
    """What a Python worker of an executor runs for each partition; its thread keeps the translator
    for the next one."""

    def translate(lines):
        return kora.thread_translator(model).batch(lines, threads=1)

    return translate


def main():
    model, source, target = sys.argv[1:]
    spark = SparkSession.builder.appName("kora").getOrCreate()
    lines = spark.sparkContext.textFile(source)
    lines.mapPartitions(translate_partition(model)).saveAsTextFile(target)
    spark.stop()


if __name__ == "__main__":
    main()
