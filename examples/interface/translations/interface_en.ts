<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- The texts of the program are English. Without this file, a user who reads English first and German next would get German. -->
<TS version="2.1" language="en_US">
</TS>
