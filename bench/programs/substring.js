// a search that takes a substring at every place of a text
function search(text, word) {
	var i, n = word.length, end = text.length - n, found = 0;
	for (i = 0; i <= end; i++) {
		if (text.substring(i, i + n) == word) {
			found = found + i;
		}
	}
	return found;
}
var text = 'the quick brown fox jumps over the lazy dog ';
while (text.length < 700) {
	text = text + text;
}
var round, sum = 0;
for (round = 0; round < 2000; round++) {
	sum = sum + search(text, 'lazy');
}
print(text.length + ' ' + sum);
