# What is installed.
