// The library of an installed package answers; run by the test of packages.
$.writeln(Morvane.evalAndWait("hostEval('6 * 7')", 20000));
// expect: 42
app.quit();
