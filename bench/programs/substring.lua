-- a search that takes a substring at every place of a text
function search(text, word)
	local i, n, found = 0, #word, 0
	local last = #text - n
	while i <= last do
		if string.sub(text, i + 1, i + n) == word then
			found = found + i
		end
		i = i + 1
	end
	return found
end
text = 'the quick brown fox jumps over the lazy dog '
while #text < 700 do
	text = text .. text
end
round, sum = 0, 0
while round < 2000 do
	sum = sum + search(text, 'lazy')
	round = round + 1
end
print(#text .. ' ' .. sum)
