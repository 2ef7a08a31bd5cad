// A host with a document, and the host's side of the demonstration. Each script that comes is shown before it is run.

var documentOfHost = {name: "Catalogue", pages: [{items: 3}, {items: 5}, {items: 4}]};

function countItems() {
	var sum = 0;
	var i;
	for (i = 0; i < documentOfHost.pages.length; i++) {
		sum += documentOfHost.pages[i].items;
	}
	return sum;
}

var evaluate = Morvane.evaluate;
Morvane.evaluate = function (text) {
	var value = evaluate(text);
	$.writeln("    the host runs JavaScript:      ", text, "  gives  ", Morvane.toText(value));
	return value;
};

// A function that answers data requests, in the coordinator of this host. It asks the host itself for what it needs.
Morvane.eval("setDataRequestCallBack('catalogue.total', function(data) {" +
	"return { items: hostEval('countItems()'), total: hostEval('countItems()') * data.price }; })", function (error) {
	$.writeln(error ? "    the host can't start: " + error : "    the host is ready, with a document called " + documentOfHost.name);
}, 10000);
