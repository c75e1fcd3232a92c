<?php
// Records the report as PHP's parser has read it.
$folder = getenv('CORVANE_RECORDS');
$report = json_decode(file_get_contents('php://input'), true, 512, JSON_THROW_ON_ERROR);
$seen = ['type' => $_SERVER['CONTENT_TYPE'], 'report' => $report];
file_put_contents("$folder/activate.json", json_encode($seen, JSON_THROW_ON_ERROR));
