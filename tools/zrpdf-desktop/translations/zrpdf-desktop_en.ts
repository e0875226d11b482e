<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- The sources are in English. This one keeps other languages away from those who read English first. -->
<TS version="2.1" language="en" sourcelanguage="en">
</TS>
